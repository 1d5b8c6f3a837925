// Follows the threads of a log: what each does at the moment, the requests of hosts, and what goes wrong.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/log/CounterRate.h"
#include "tools/log/LogLine.h"
#include "tools/log/LogMessages.h"
#include "tools/log/LogOperations.h"
#include "tools/log/Problem.h"

namespace agentlog {

// An operation that a thread has entered and not left.
struct Call {
    std::string operation;
    const LogOperation* known = nullptr; // null: it asks no neighbour itself
    std::uint64_t start = 0;             // in ticks of the counter
    double children = 0;                 // milliseconds that the operations within it took
    bool answered = false;               // a line told how the neighbour's answer was
    std::uint32_t tooSmall = 0;          // how often a list did not fit, within it
    const LogMessage* retried = nullptr; // a failure that a repetition may mend
    std::optional<std::uint32_t> retriedNumber;
    std::uint64_t retriedLine = 0;
};

// What a host asked the agent for.
struct Request {
    std::uint64_t number = 0; // from 1, in the order in which they begin
    std::uint64_t line = 0;   // where it begins
    std::uint32_t process = 0;
    std::uint32_t thread = 0;
    std::uint32_t time = 0;     // milliseconds of the day
    std::string operation;      // without its class
    std::uint32_t adapters = 0; // that it worked on
    std::uint32_t problems = 0;
    std::string result; // "true", "false"; empty: none
    bool finished = false;
    double milliseconds = 0; // up to its end, or to the last line of its thread
};

// The calls that are open in a thread, the outermost first.
struct OpenCalls {
    std::uint32_t process = 0;
    std::uint32_t thread = 0;
    std::vector<Call> calls; // as many as depth; those behind it are kept for their memory
    std::size_t depth = 0;
    const Request* request = nullptr; // null: none is open
};

// What a tracker tells. References are valid during the call.
class Listener {
  public:
    virtual ~Listener() = default;
    virtual void OnRequest(const Request&) {} // that begins
    virtual void OnEntry(const OpenCalls&, const LogLine&) {}
    virtual void OnMessage(const OpenCalls&, const LogLine&, const FoundMessage*) {} // null: the table lacks it
    // The innermost call ends; exit is null when the log does not have its end.
    virtual void OnExit(const OpenCalls&, const LogLine* /*exit*/, double /*milliseconds*/) {}
    virtual void OnProblem(const Problem&) {}
    virtual void OnFinished(const Request&) {} // also of one whose end is not in the log, then at the log's end
};

// Memory for what is open, whatever the log's length.
class Tracker {
  public:
    Tracker(const CounterRate& rate, Listener& listener) : m_rate(rate), m_listener(listener) {}

    // A line of the log without its end. One that is torn counts as the two that it is.
    void Take(std::string_view line);
    // There is no more. What is still open is told of as unfinished.
    void End();

    std::uint64_t Lines() const { return m_lines; }
    std::uint64_t Unreadable() const { return m_unreadable; } // lines of another form

  private:
    // A call whose neighbour did not answer: missing, unless the next line but EXIT lines tells of an exception.
    struct Unanswered {
        const LogOperation* known = nullptr;
        std::uint64_t line = 0;
        std::uint32_t time = 0;
    };
    struct Thread {
        OpenCalls open;
        Request request;
        bool inRequest = false;
        bool boundCoreAgent = false;
        std::uint64_t requestStart = 0;
        std::uint64_t last = 0; // ticks of its last line
        Unanswered unanswered;
    };

    void Parsed(const LogLine& line);
    Thread& ThreadOf(const LogLine& line);
    void Enter(Thread& thread, const LogLine& line);
    void Leave(Thread& thread, const LogLine& line);
    void Say(Thread& thread, const LogLine& line);
    void Weigh(Thread& thread, const LogLine& line, const FoundMessage& found);
    void Pop(Thread& thread, const LogLine* exit);
    void BeginRequest(Thread& thread, const LogLine& line);
    void EndRequest(Thread& thread, const LogLine* exit);
    void SettleUnanswered(Thread& thread);
    void Report(Thread& thread, Problem problem);
    Problem ProblemAt(const Thread& thread, const LogLine& line) const;

    const CounterRate m_rate;
    Listener& m_listener;
    std::unordered_map<std::uint64_t, Thread> m_threads;
    Thread* m_latest = nullptr;
    std::uint64_t m_lines = 0;
    std::uint64_t m_unreadable = 0;
    std::uint64_t m_requests = 0;
};

} // namespace agentlog
