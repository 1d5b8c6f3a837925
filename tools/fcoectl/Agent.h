// The agent as the commands ask it: what it refuses and throws is a Failure.
#pragma once

#include <optional>
#include <string>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tools/fcoectl/Failure.h"
#include "tools/fcoectl/LibrarySearch.h"
#include "tools/fcoectl/Names.h"
#include "tools/reading/LoadedAgent.h"

namespace fcoectl {

using reading::Reading;

// Every member throws Failure: AgentMissing or AgentRefused while loading, AgentThrew when a call ended by an
// exception.
class Agent {
  public:
    // file: the module to load; empty takes the registered one. libraryFolder: of the HBA library; empty: none is
    // named. mask: learns the names in what is read, and outlives the agent; null: nobody does.
    Agent(const std::wstring& file, const std::wstring& libraryFolder, reading::Mask* mask);
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // adapter: empty reads all adapters that support FCoE. answer: what is shown of the records.
    template <class Record>
    [[nodiscard]] Reading<Record> Read(const CQelString& adapter,
                                       reading::Answer answer = reading::AnswerOf<Record>()) {
        Reading<Record> result;
        Call([&] {
            result = m_agent->Read<Record>(adapter, answer);
            if (m_mask)
                for (const Record& record : result.records)
                    LearnNames(*m_mask, record);
        });
        return result;
    }

    // wwpn: the name, or "auto"; receives the generated name. Throws a Failure with the agent's reasons.
    void CreateVPort(const CQelString& adapter, CQelString& wwpn);
    void DeleteVPort(const CQelString& adapter, const CQelString& wwpn);
    [[nodiscard]] CQelString GenerateWWPN(const CQelString& adapter);
    void RefreshTargets(const CQelString& adapter);

  private:
    // path: of AgentFile.
    Agent(const std::wstring& path, const std::wstring& libraryFolder, reading::Mask* mask, bool isRegistered);

    // Runs one call into the agent; what it throws becomes a Failure.
    template <class Function> static void Call(Function&& function) {
        try {
            function();
        } catch (const Failure&) {
            throw;
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

    reading::Mask* m_mask;
    LibrarySearch m_search; // outlives the module
    std::optional<reading::LoadedAgent> m_agent;
};

// The module that would be loaded: the full path of the given file, or the registered one. Throws Failure AgentMissing.
std::wstring AgentFile(const std::wstring& file);

} // namespace fcoectl
