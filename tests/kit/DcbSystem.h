// The simulated DCB service installed in the test's Wine prefix. One test at a time: others wait.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <windows.h>

#include "tests/kit/TempFolder.h"

class DcbSystem {
  public:
    // Installs the service with the topology in TopologyFile, which has no adapter at first; it is not started.
    DcbSystem();
    // Uninstalls it.
    ~DcbSystem();
    DcbSystem(const DcbSystem&) = delete;
    DcbSystem& operator=(const DcbSystem&) = delete;

    // Replaces the topology. faults: a list; index i of the adapters has the identifier Identifier(i).
    void Simulate(const std::vector<nlohmann::json>& dcbOfAdapters, const nlohmann::json& faults = nullptr);
    static std::wstring Identifier(std::size_t adapter);
    std::filesystem::path TopologyFile() const { return m_folder.Path() / L"topology.json"; }

    // Starts it through the service manager and waits until its class can be reached.
    void Start();
    void Stop();
    // The service's state; 0: there is no such service.
    static DWORD State();
    // Waits until the state is that; false after ten seconds.
    static bool WaitFor(DWORD state);

    // Runs OrvanDcb.exe to its end; its exit code.
    static DWORD Run(const std::wstring& arguments);
    // Starts it; the caller closes the handle.
    static HANDLE Launch(const std::wstring& arguments);

  private:
    struct Turn {
        Turn();
        ~Turn();
        HANDLE mutex;
    };
    Turn m_turn;
    TempFolder m_folder;
};
