// A small complete host: finds the agent, prints the FCoE adapters with their LUNs, and creates and deletes a virtual
// port.
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

// Exit codes.
constexpr int DONE = 0, NOT_ALL_READ = 1, REFUSED = 2, NOT_LOADED = 3, NOT_STARTED = 4;

int PrintAdapters(CQelFcoeAgentIntf& agent, std::vector<QEL_FCOE_HBA>& hbas) {
    // An empty identifier asks for all adapters that support FCoE. The vector is appended to, so it starts empty.
    BOOL complete = agent.EnumerateHBAs(CQelString(), hbas, 0);
    for (QEL_FCOE_HBA& hba : hbas) {
        std::printf("%ls  %ls  %ls\n", hba.strSecondId.c_str(), hba.strPortWWN.c_str(), hba.strFcoeLinkStatus.c_str());
        std::vector<QEL_FCOE_LUN> luns;
        complete &= agent.EnumerateLUNs(hba.strDeviceId, luns, 0);
        for (const QEL_FCOE_LUN& lun : luns)
            std::printf("  LUN %lu  %ls  %ls\n", lun.ulOsLun, lun.strCapacity.c_str(), lun.strOsDeviceName.c_str());
    }
    if (complete)
        return DONE;
    std::fputs("Some adapters could not be read; the agent's log tells more.\n", stderr);
    return NOT_ALL_READ;
}

// docs/errors.md tells what the codes mean.
int PrintRefusal(const std::vector<QEL_ERROR_ENTRY>& errors) {
    std::fputs("refused:", stdout);
    for (const QEL_ERROR_ENTRY& error : errors) {
        std::printf(" error %08lX of %ls", error.ulCode, error.strSource.c_str());
        for (const CQelString& argument : error.vecArguments)
            std::printf(", %ls", argument.c_str());
    }
    // No entry: another program holds the suite's configuration lock.
    std::puts(errors.empty() ? " the configuration is locked" : "");
    return REFUSED;
}

int ChangePorts(CQelFcoeAgentIntf& agent, CQelString& adapter) {
    CQelString wwpn = L"Auto"; // the agent has a name generated
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = GetCurrentProcessId(); // of the suite's configuration lock
    if (!agent.CreateVPort(adapter, wwpn, errors, owner))
        return PrintRefusal(errors);
    std::printf("created %ls\n", wwpn.c_str());
    if (!agent.DeleteVPort(adapter, wwpn, errors, QEL_LOCK_REQUEST{owner, 0, 0}))
        return PrintRefusal(errors);
    std::printf("deleted %ls\n", wwpn.c_str());
    // Once more, to show what a refusal looks like.
    if (!agent.DeleteVPort(adapter, wwpn, errors, QEL_LOCK_REQUEST{owner, 0, 0}))
        PrintRefusal(errors);
    return DONE;
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
        return NOT_LOADED;
    }
    const HMODULE module =
        LoadLibraryExW(file, nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (!module) {
        std::fprintf(stderr, "The agent cannot be loaded: error %lu\n", GetLastError());
        return NOT_LOADED;
    }
    if (!FcoeAgentFits(module)) {
        std::fputs("The agent is of another version than this host was built for.\n", stderr);
        return NOT_LOADED;
    }
    const auto getAgent =
        reinterpret_cast<PFN_GetFcoeAgent>(reinterpret_cast<void*>(GetProcAddress(module, "GetFcoeAgent")));
    // The agent belongs to its module: it is never deleted, and nothing of it may be used once the module is freed.
    CQelFcoeAgentIntf* agent = getAgent ? getAgent() : nullptr;
    int result = NOT_STARTED;
    if (agent) {
        std::vector<QEL_FCOE_HBA> hbas;
        result = PrintAdapters(*agent, hbas);
        if (!hbas.empty() && result == DONE)
            result = ChangePorts(*agent, hbas.front().strDeviceId);
    } else {
        std::fputs("The agent could not start; usually the core agent is missing.\n", stderr);
    }
    // Adapters and vendor library are released here. What is left to FreeLibrary is released under the loader's lock,
    // where a library that waits for a thread of its own to end waits for ever.
    if (agent)
        agent->Uninstall(0);
    FreeLibrary(module);
    return result;
}
