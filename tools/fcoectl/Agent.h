// The agent as a host holds it: loaded, asked through its public interface, released at the end.
#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tools/fcoectl/Failure.h"
#include "tools/fcoectl/LibrarySearch.h"
#include "tools/fcoectl/Names.h"
#include "tools/reading/Examiner.h"

namespace fcoectl {

// What one enumeration gave.
template <class Record> struct Reading {
    bool complete = false; // the agent answered TRUE
    std::vector<Record> records;
    reading::Findings findings; // what they lack
};

// Every member throws Failure: AgentMissing or AgentRefused while loading, AgentThrew when a call ended by an
// exception.
class Agent {
  public:
    // file: the module to load; empty takes the registered one. libraryFolder: of the HBA library; empty: none is
    // named. mask: learns the names in what is read, and outlives the agent; null: nobody does.
    Agent(const std::wstring& file, const std::wstring& libraryFolder, reading::Mask* mask);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // adapter: empty reads all adapters that support FCoE. answer: what is shown of the records.
    template <class Record>
    [[nodiscard]] Reading<Record> Read(const CQelString& adapter, reading::Answer answer = AnswerOf<Record>()) {
        Reading<Record> result;
        Call([&] {
            m_examiner.Begin();
            result.complete = Enumerate(adapter, result.records) != FALSE;
            if (m_mask)
                for (const Record& record : result.records)
                    LearnNames(*m_mask, record);
            result.findings = m_examiner.Examine(answer, adapter, result.complete, result.records);
        });
        return result;
    }

    // wwpn: the name, or "auto"; receives the generated name. Throws a Failure with the agent's reasons.
    void CreateVPort(const CQelString& adapter, CQelString& wwpn);
    void DeleteVPort(const CQelString& adapter, const CQelString& wwpn);
    [[nodiscard]] CQelString GenerateWWPN(const CQelString& adapter);
    void RefreshTargets(const CQelString& adapter);

  private:
    struct Unload {
        using pointer = HMODULE;
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };

    // Runs one call into the agent; what it throws becomes a Failure.
    template <class Function> static void Call(Function&& function) {
        try {
            function();
        } catch (const std::bad_alloc&) {
            throw Failure(Exit::AgentThrew, "Memory was exhausted while the agent answered.");
        } catch (const std::exception& exception) {
            throw Failure(Exit::AgentThrew,
                          std::string("The agent ended the call with an exception: ") + exception.what());
        } catch (...) {
            throw Failure(Exit::AgentThrew, "The agent ended the call with an unknown exception.");
        }
    }

    // The same; without an HBA library, with why there is none instead of the usual advice.
    [[nodiscard]] Failure Explained(const Failure& failure) const;

    template <class Record> static constexpr reading::Answer AnswerOf() {
        using reading::Answer;
        return std::is_same_v<Record, QEL_FCOE_HBA>      ? Answer::Hbas
               : std::is_same_v<Record, QEL_FCOE_FABRIC> ? Answer::Fabrics
               : std::is_same_v<Record, QEL_FCOE_PORT>   ? Answer::Ports
               : std::is_same_v<Record, QEL_FCOE_TARGET> ? Answer::Targets
               : std::is_same_v<Record, QEL_FCOE_LUN>    ? Answer::Luns
               : std::is_same_v<Record, QEL_FCOE_VLAN>   ? Answer::Vlans
                                                         : Answer::Statistics;
    }

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

    std::wstring m_path;
    reading::Mask* m_mask;
    LibrarySearch m_search; // outlives the module
    reading::Examiner m_examiner{m_search.Folders()};
    std::unique_ptr<HMODULE, Unload> m_module;
    CQelFcoeAgentIntf* m_interface = nullptr; // the agent's own
};

// The module that would be loaded: the full path of the given file, or the registered one. Throws Failure AgentMissing.
std::wstring AgentFile(const std::wstring& file);

} // namespace fcoectl
