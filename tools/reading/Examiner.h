// Decides whether an answer of the agent is whole, and says what it lacks.
//
// The agent answers TRUE where its neighbours failed. Of what it hides tell: its log of this process, from where it
// stood before the request; the answer's own records; which modules are loaded; the registry; the core agent.
#pragma once

#include <string>
#include <vector>

#include "tools/reading/CallReplay.h"
#include "tools/reading/Contradictions.h"
#include "tools/reading/CoreAgentView.h"
#include "tools/reading/LogWatch.h"
#include "tools/reading/Problem.h"

namespace reading {

// Sentences are UTF-8.
struct Findings {
    std::vector<Problem> problems; // empty: all was read, as far as can be seen
    std::string blindness;         // why failures cannot be seen; empty: they can
    std::string whyNone;           // why there is no adapter at all, where that is no problem; empty: there is one

    // Whether that part of the adapter's was not read, so that what its records show of it means nothing. The whole
    // adapter counts, and so does a library that no adapter has.
    [[nodiscard]] bool Lack(const std::wstring& adapter, What what) const;
};

// For one thread. The agent is loaded, and stays so.
class Examiner {
  public:
    // libraryFolders: where the host's process looks for the HBA library, beside the system's and the program's.
    explicit Examiner(std::vector<std::wstring> libraryFolders) : m_folders(std::move(libraryFolders)) {}

    // Before the request.
    void Begin() { m_log.Begin(); }
    // After it, in the same thread. adapter: its identifier, as asked for; empty: all. complete: the agent answered
    // TRUE. Calls nothing of the agent. Throws std::bad_alloc only.
    template <class Record>
    [[nodiscard]] Findings Examine(Answer answer, const std::wstring& adapter, bool complete,
                                   const std::vector<Record>& records) {
        return Examine(answer, adapter, complete, View(records));
    }

  private:
    Findings Examine(Answer answer, const std::wstring& adapter, bool complete, RecordView view);

    std::vector<std::wstring> m_folders;
    LogWatch m_log;
};

} // namespace reading
