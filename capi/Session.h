// The agent that the sessions of this process share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include "FcoeAgent/QelLock.h"
#include "FcoeAgent/fcoe_agent.h"
#include "tools/reading/LoadedAgent.h"

namespace capi {

// Calls that ask the agent take turns: while one reopens an adapter, another one would be refused by the HBA library,
// and the agent would not tell.
extern CQelLock g_turn;

// The HBA library that lies beside the agent's file, loaded: the agent asks for it by its name, and takes the one that
// is.
class LibraryBesideAgent {
  public:
    explicit LibraryBesideAgent(const std::wstring& folder);

  private:
    struct Unload {
        using pointer = HMODULE;
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    std::unique_ptr<HMODULE, Unload> m_module;
};

class SharedAgent {
  public:
    // file: of reading::AgentFile. Throws as reading::LoadedAgent does.
    explicit SharedAgent(const std::wstring& file);

    bool IsFrom(const std::wstring& file) const;
    // As LoadedAgent::Read; and what the agent keeps of an answer that was not whole is not told as a whole one.
    template <class Record> reading::Reading<Record> Read(const CQelString& adapter) {
        AwaitFreshAnswers();
        const Asking asking(*this);
        reading::Reading<Record> reading = m_agent.Read<Record>(adapter);
        m_doubtful = !reading.complete || !reading.findings.problems.empty();
        return reading;
    }
    // Carries out one of the other operations.
    template <class Operation> BOOL Ask(Operation operation) {
        const Asking asking(*this);
        return operation(m_agent.Interface());
    }
    // Why nothing can be had of the adapters while no HBA library is loaded, and what to do; else empty.
    std::string WhyNoLibrary() const;

  private:
    // A call into the agent. What it leaves in the agent's caches is doubtful, unless it turns out whole.
    class Asking {
      public:
        explicit Asking(SharedAgent& shared) : m_shared(shared) { m_shared.m_doubtful = true; }
        ~Asking() { m_shared.m_asked = GetTickCount(); }
        Asking(const Asking&) = delete;
        Asking& operator=(const Asking&) = delete;

      private:
        SharedAgent& m_shared;
    };
    // The agent answers from its caches without a word of what failed when they were filled.
    void AwaitFreshAnswers() const;

    std::wstring m_file;
    std::vector<std::wstring> m_folders; // where the library is looked for beside the places of every program
    LibraryBesideAgent m_library;        // goes after the agent
    reading::LoadedAgent m_agent;
    bool m_doubtful = false;
    DWORD m_asked = 0; // in ticks: when the last call ended
};

// A session of the agent of that file, empty: the registered one. Throws Ended, reading::NoAgent and what the agent
// throws.
fcoe_session* OpenSession(const std::wstring& file) QEL_REQUIRES(g_turn);
// The agent of the session. Throws Ended when it is none.
SharedAgent& AgentOf(const fcoe_session* session) QEL_REQUIRES(g_turn);
// The last one releases the agent.
void CloseSession(fcoe_session* session) noexcept QEL_REQUIRES(g_turn);

} // namespace capi
