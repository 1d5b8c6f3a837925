// The smallest host: finds the agent, asks for the FCoE adapters and prints their names and World Wide Names.
//
// Build: find_package(FcoeAgent) and FcoeAgent::Host, or pkg-config fcoe-agent; docs/host-guide.md tells more.
// Run: QelColib.dll and the C++ run time beside the program or on PATH, the agent registered, see docs/registry.md.
#include <cstdio>
#include <iterator>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "FcoeAgent/FcoeVersion.h"

namespace {

constexpr wchar_t AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";

int PrintAdapters(CQelFcoeAgentIntf& agent) {
    // An empty identifier asks for all adapters that support FCoE. The vector is appended to, so it starts empty.
    std::vector<QEL_FCOE_HBA> hbas;
    const BOOL complete = agent.EnumerateHBAs(CQelString(), hbas, 0);
    for (const QEL_FCOE_HBA& hba : hbas)
        std::printf("%ls  %ls\n", hba.strSecondId.c_str(), hba.strPortWWN.c_str());
    if (complete)
        return 0;
    std::fputs("Some adapters could not be read; the agent's log tells more.\n", stderr);
    return 1;
}

} // namespace

int main() {
    // First of all: no module comes from the current folder or PATH, where others may have put theirs, and none opens a
    // message box.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
    // The installer writes the full path of the agent's module.
    wchar_t file[MAX_PATH];
    DWORD bytes = sizeof file;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, AGENT_KEY, L"InstalledDir", RRF_RT_REG_SZ, nullptr, file, &bytes) != 0) {
        std::fputs("The agent is not installed.\n", stderr);
        return 3;
    }
    const HMODULE module =
        LoadLibraryExW(file, nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (!module) {
        std::fprintf(stderr, "The agent cannot be loaded: error %lu\n", GetLastError());
        return 3;
    }
    if (!FcoeAgentFits(module)) {
        std::fputs("The agent is of another version than this host was built for.\n", stderr);
        return 3;
    }
    const auto getAgent =
        reinterpret_cast<PFN_GetFcoeAgent>(reinterpret_cast<void*>(GetProcAddress(module, "GetFcoeAgent")));
    // The agent belongs to its module: it is never deleted, and nothing of it may be used once the module is freed.
    CQelFcoeAgentIntf* agent = getAgent ? getAgent() : nullptr;
    int result = 4;
    if (agent)
        result = PrintAdapters(*agent);
    else
        std::fputs("The agent could not start; usually the core agent is missing.\n", stderr);
    // Adapters and vendor library are released here. What is left to FreeLibrary is released under the loader's lock,
    // where a library that waits for a thread of its own to end waits for ever.
    if (agent)
        agent->Uninstall(0);
    FreeLibrary(module);
    return result;
}
