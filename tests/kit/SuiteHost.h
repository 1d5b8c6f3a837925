// A management host as a test sees it: the suite's registry values in a hive of its own, the agent loaded by its file,
// the simulated neighbours under the test's control.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"

class SuiteHost {
  public:
    // Registry values as an installation writes them; the log in a folder of the test's own. Nothing is loaded yet.
    SuiteHost();
    // Unloads the agent and then the vendor library.
    ~SuiteHost();
    SuiteHost(const SuiteHost&) = delete;
    SuiteHost& operator=(const SuiteHost&) = delete;

    PrivateHive& Hive() { return m_hive; }
    const std::filesystem::path& Folder() const { return m_folder.Path(); }

    // Has the simulated suite show this topology (JSON text). Before the agent is loaded, or at any time after.
    void Simulate(const std::string& topology);
    // Calls of the vendor library's function since the last ResetCalls.
    unsigned long long Calls(const char* function);
    void ResetCalls();

    // Loads the module and asks it for the agent; null when it has none. Again and again, as often as wanted.
    CQelFcoeAgentIntf* GetAgent();
    HMODULE Module() const { return m_agentModule; }
    void Unload();

    // The agent's log: the messages without their headers. With or without ENTRY and EXIT lines.
    std::vector<std::string> LogLines() const;
    std::vector<std::string> LogMessages() const;
    bool Logged(const std::string& message) const;
    std::filesystem::path LogFile() const { return m_folder.Path() / L"FcoeAgnt.txt"; }

    // The vendor library's module; loads it, which also keeps its state while the agent comes and goes.
    HMODULE Library();

  private:
    TempFolder m_folder;
    PrivateHive m_hive;
    HMODULE m_agentModule = nullptr;
    HMODULE m_library = nullptr;
};
