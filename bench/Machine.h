// A machine for the benchmark, and the agent on it.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "bench/AgentClock.h"

// A local machine of the benchmark's own: the installed suite stays as it is.
class Machine {
  public:
    // bin: where the suite's modules lie.
    explicit Machine(const std::filesystem::path& bin);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // The log level of agents that are loaded after this.
    void Trace(DWORD level);
    std::filesystem::path Module(const wchar_t* name) const { return m_bin / name; }
    std::filesystem::path LogFile() const { return m_log / L"FcoeAgnt.txt"; }
    std::filesystem::path FloorFile() const { return m_log / L"floor.txt"; }

  private:
    std::filesystem::path m_bin;
    std::filesystem::path m_log;
    HKEY m_hive = nullptr;
};

// The agent, loaded as a host loads it, with a clock that the benchmark moves.
class Agent {
  public:
    explicit Agent(const Machine& machine);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    CQelFcoeAgentIntf* operator->() const { return m_agent; }
    // Makes everything that the agent has cached stale.
    void Age() { m_clock->Advance(1000); }

  private:
    HMODULE m_module;
    CQelFcoeAgentIntf* m_agent = nullptr;
    std::unique_ptr<AgentClock> m_clock;
};
