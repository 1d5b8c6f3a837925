// Follows the lines that one request left in the agent's log, and finds the calls that failed and that the answer
// needs.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/log/LogLine.h"
#include "tools/log/LogMessages.h"
#include "tools/reading/LoggedOperation.h"
#include "tools/reading/Loss.h"

namespace reading {

// How the core agent's list of adapters came out.
enum class AdapterList { Untold, Read, NotInstalled, Failed, Threw };

class CallReplay {
  public:
    explicit CallReplay(Answer answer) : m_answer(answer) {}

    // One thread's lines, in their order; of other threads none.
    void Take(const agentlog::LogLine& line);
    // After the last one.
    void Finish();

    // Whether the lines tell of the request at all.
    bool SawRequest() const { return m_sawRequest; }
    AdapterList List() const { return m_list; }
    // Whether the core agent threw when it was asked whether an adapter supports FCoE.
    bool SupportThrew() const { return m_supportThrew; }
    // Adapters that were asked. Losses name them by their place among these.
    std::size_t Asked() const { return m_asked; }
    // What is not in the answer for a call that failed. Calls whose failure changed nothing are left out: one that was
    // repeated with success, one for something that the answer does not show.
    const std::vector<Loss>& Losses() const { return m_losses; }

  private:
    // Why a call gave nothing.
    struct Cause {
        How how = How::Refused;
        std::string function;
        std::optional<std::int64_t> status;
        bool isLibraryStatus = false;
    };
    struct Frame {
        LoggedOperation operation;
        bool succeeded = false;
        bool more = false; // the list is longer
        std::optional<Cause> failure;
        // Of a list's reading: how its last call came out, how many there were, and the entries that they told of.
        unsigned calls = 0;
        std::int64_t count = 0;
        unsigned inquiries = 0; // of a target's making
    };
    // Objects of one level: so many the library listed, so many were made.
    struct Level {
        std::int64_t listed = 0;
        unsigned reads = 0; // of the list
        unsigned asked = 0; // parents that were to read it
        unsigned made = 0;
    };

    void Enter(const agentlog::LogLine& line);
    void Leave(const agentlog::LogLine& line);
    void Hear(const agentlog::LogLine& line);
    void HearException(Operation operation);
    void LeaveCall(const Frame& frame, const agentlog::LogLine& line);
    void LeaveListCall(const Frame& frame);
    void LeaveList(const Frame& frame);
    void BeginAdapter();
    void EndAdapter();
    void Compare(const Level& level, What what, const char* function);

    static Cause CauseOf(const agentlog::FoundMessage& found, const char* function);
    // What ended a call that needs the adapter's handle, when the adapter could not be opened.
    Cause Root(Cause cause) const { return m_open ? *m_open : std::move(cause); }
    What PortsPart() const { return m_answer == Answer::Fabrics ? What::Fabrics : What::Ports; }
    void Lose(What what, Cause cause);
    void Settle();

    Answer m_answer;
    bool m_sawRequest = false;
    AdapterList m_list = AdapterList::Untold;
    bool m_supportThrew = false;
    std::size_t m_asked = 0;
    std::vector<Loss> m_losses;
    // Of calls that have just been left: should an exception turn out to have ended them, they tell nothing.
    std::vector<Loss> m_unsettled;
    std::optional<std::string>
        m_left; // function of the first operation that was left since the last line of another kind
    std::vector<Frame> m_frames;
    unsigned m_destroying = 0;   // operations that are open below a destructor
    std::optional<Cause> m_open; // why the adapter is not open
    Level m_ports, m_targets, m_luns, m_vlans;
};

} // namespace reading
