// The agent as a host holds it: loaded, asked through its public interface, released at the end.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tools/reading/Examiner.h"

namespace reading {

// Why there is no agent. The text is a sentence that names file or registry value, UTF-8.
class NoAgent : public std::runtime_error {
  public:
    enum class Why {
        NotInstalled, // no file is registered
        NotLoaded,    // the file is missing or does not load
        NotTheAgent,  // it is another module
        NotStarted,   // GetFcoeAgent gave none
    };

    NoAgent(Why why, const std::string& text) : std::runtime_error(text), m_why(why) {}
    Why Reason() const { return m_why; }

  private:
    Why m_why;
};

// The module that would be loaded: the full path of the given file, or the registered one as it is registered. Throws
// NoAgent.
[[nodiscard]] std::wstring AgentFile(const std::wstring& file);

// What one enumeration gave.
template <class Record> struct Reading {
    bool complete = false; // the agent answered TRUE
    std::vector<Record> records;
    Findings findings; // what they lack
};

template <class Record> constexpr Answer AnswerOf() {
    return std::is_same_v<Record, QEL_FCOE_HBA>      ? Answer::Hbas
           : std::is_same_v<Record, QEL_FCOE_FABRIC> ? Answer::Fabrics
           : std::is_same_v<Record, QEL_FCOE_PORT>   ? Answer::Ports
           : std::is_same_v<Record, QEL_FCOE_TARGET> ? Answer::Targets
           : std::is_same_v<Record, QEL_FCOE_LUN>    ? Answer::Luns
           : std::is_same_v<Record, QEL_FCOE_VLAN>   ? Answer::Vlans
                                                     : Answer::Statistics;
}

// For one thread at a time. The last owner is not to be in a module's entry point: the neighbours are released.
class LoadedAgent {
  public:
    // file: of AgentFile. libraryFolders: as an Examiner takes them. Throws NoAgent, and what GetFcoeAgent throws.
    LoadedAgent(const std::wstring& file, std::vector<std::wstring> libraryFolders);
    ~LoadedAgent();
    LoadedAgent(const LoadedAgent&) = delete;
    LoadedAgent& operator=(const LoadedAgent&) = delete;

    CQelFcoeAgentIntf& Interface() { return *m_interface; }

    // adapter: empty reads all adapters that support FCoE. answer: what is shown of the records. Throws what the agent
    // throws.
    template <class Record>
    [[nodiscard]] Reading<Record> Read(const CQelString& adapter, Answer answer = AnswerOf<Record>()) {
        Reading<Record> result;
        m_examiner.Begin();
        result.complete = Enumerate(adapter, result.records) != FALSE;
        result.findings = m_examiner.Examine(answer, adapter, result.complete, result.records);
        return result;
    }

  private:
    struct Unload {
        using pointer = HMODULE;
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };

    template <class Record> BOOL Enumerate(const CQelString& adapter, std::vector<Record>& records) {
        CQelString copy(adapter); // most operations take a reference that they may change
        if constexpr (std::is_same_v<Record, QEL_FCOE_HBA>)
            return m_interface->EnumerateHBAs(copy, records, 0);
        else if constexpr (std::is_same_v<Record, QEL_FCOE_FABRIC>)
            return m_interface->EnumerateFabrics(copy, records, 0);
        else if constexpr (std::is_same_v<Record, QEL_FCOE_PORT>)
            return m_interface->EnumeratePorts(copy, records, 0);
        else if constexpr (std::is_same_v<Record, QEL_FCOE_TARGET>)
            return m_interface->EnumerateTargets(copy, records, 0);
        else if constexpr (std::is_same_v<Record, QEL_FCOE_LUN>)
            return m_interface->EnumerateLUNs(copy, records, 0);
        else if constexpr (std::is_same_v<Record, QEL_FCOE_VLAN>)
            return m_interface->EnumerateVLANs(copy, records, 0);
        else
            return m_interface->EnumerateStatistics(copy, records, 0);
    }

    Examiner m_examiner;
    std::unique_ptr<HMODULE, Unload> m_module;
    CQelFcoeAgentIntf* m_interface = nullptr; // the agent's own
};

} // namespace reading
