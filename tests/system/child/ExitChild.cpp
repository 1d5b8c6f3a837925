// A host in a process of its own, which mostly ends without unloading the agent. Usage: exit_child MODE; exit code 0
// when it came to its end.
//
//   idle           after an enumeration
//   enumerating N  while another thread is inside an enumeration, N milliseconds after it began to enumerate
//   in-library     while another thread is inside the vendor library and holds the cross-process mutex
//   log            enumerates a hundred times and unloads; two of these run side by side
//   change N       creates and deletes 100 virtual ports, Nth of its kind; the last one stays
//   watch          enumerates ports until the event of the test is set; nothing may fail
//   free NAME      frees the agent with an adapter open in a vendor library that waits for a thread of its own
//                  (ThreadedLibrary.cpp); the event NAME is set when that thread has been told to end
//   uninstall NAME the same after Uninstall
//
// A watchdog ends it with its own code when it hangs.
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>

#include "tests/kit/CrashReport.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/SuiteHost.h"

namespace {

void EnumerateForEver(CQelFcoeAgentIntf* agent) {
    for (;;) {
        CQelString all;
        std::vector<QEL_FCOE_LUN> luns;
        agent->EnumerateLUNs(all, luns, 0);
    }
}

const char* SLOW_LIBRARY =
    R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "00:1B:21:00:00:01",
    "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01"}}],
    "faults": [{"function": "ORVAN_GetFCPortList", "delay_ms": 60000}]})";

const wchar_t ADAPTER[] = L"{11111111-2222-4333-8444-555555555501}";

// Every change must succeed and be seen at once by this process.
int Change(CQelFcoeAgentIntf* agent, int number) {
    CQelString adapter(ADAPTER), name;
    for (int i = 0; i < 100; ++i) {
        name.FormatString(L"20:%02X:00:1B:21:00:%02X:01", i + 2, number);
        std::vector<QEL_ERROR_ENTRY> errors;
        ULONG owner = GetCurrentProcessId();
        if (!agent->CreateVPort(adapter, name, errors, owner))
            return 10;
        std::vector<QEL_FCOE_PORT> ports;
        agent->EnumeratePorts(adapter, ports, 0);
        int found = 0;
        for (const auto& port : ports)
            found += std::wstring(port.strPortWWN) == std::wstring(name);
        if (found != 1)
            return 11;
        if (i < 99 && !agent->DeleteVPort(adapter, name, errors, {owner, 0, 0}))
            return 12;
    }
    return 0;
}

int Watch(CQelFcoeAgentIntf* agent, const char* eventName) {
    const HANDLE stop = OpenEventA(SYNCHRONIZE, FALSE, eventName);
    if (!stop)
        return 20;
    do {
        CQelString adapter(ADAPTER);
        std::vector<QEL_FCOE_PORT> ports;
        if (!agent->EnumeratePorts(adapter, ports, 0) || ports.empty())
            return 21;
        std::set<std::wstring> names;
        for (const auto& port : ports)
            if (!names.insert(port.strPortWWN).second)
                return 22; // doubled
    } while (WaitForSingleObject(stop, 0) == WAIT_TIMEOUT);
    return 0;
}

// A module that is loaded is found by its bare name, wherever it lies.
HMODULE LoadThreadedLibrary() {
    return LoadLibraryW((ProgramFolder() / L"threaded_library" / L"orvanhapi.dll").c_str());
}

// library: our own reference; from then on it is the agent's alone.
int Free(SuiteHost& host, CQelFcoeAgentIntf* agent, HMODULE library, const char* eventName, bool uninstall) {
    FreeLibrary(library);
    CQelString adapter(ADAPTER);
    std::vector<QEL_FCOE_VLAN> vlans;
    if (!agent->EnumerateVLANs(adapter, vlans, 0))
        return 30;
    SetEnvironmentVariableA("FCOE_CHILD_STOPPING", eventName);
    if (uninstall)
        agent->Uninstall(0);
    host.Unload();
    return 0;
}

int Enumerate(CQelFcoeAgentIntf* agent) {
    CQelString all;
    std::vector<QEL_FCOE_LUN> luns;
    return agent->EnumerateLUNs(all, luns, 0) && !luns.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    InstallCrashReport();
    StartWatchdog(30);
    const std::string mode = argc > 1 ? argv[1] : "";
    // Never destroyed: the process ends with the agent loaded.
    auto* host = new SuiteHost;
    if (const char* topology = std::getenv("FCOE_CHILD_TOPOLOGY")) {
        // One topology and one state for all processes of the test.
        const std::wstring file = std::filesystem::path(topology).wstring();
        host->Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"Topology", file);
        host->Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"State", file + L".state");
    }
    if (mode == "in-library")
        host->Simulate(SLOW_LIBRARY);
    const bool frees = (mode == "free" || mode == "uninstall") && argc > 2;
    const HMODULE threadedLibrary = frees ? LoadThreadedLibrary() : nullptr;
    auto* agent = host->GetAgent();
    if (!agent)
        return 2;
    if (frees)
        return Free(*host, agent, threadedLibrary, argv[2], mode == "uninstall");
    if (mode == "change" && argc > 2)
        return Change(agent, std::atoi(argv[2]));
    if (mode == "watch" && argc > 2)
        return Watch(agent, argv[2]);
    if (mode == "idle")
        return Enumerate(agent);
    if (mode == "log") {
        for (int i = 0; i < 100; ++i)
            if (Enumerate(agent))
                return 1;
        host->Unload();
        return 0;
    }
    std::thread(EnumerateForEver, agent).detach();
    if (mode == "enumerating") {
        Sleep(argc > 2 ? std::atoi(argv[2]) : 0);
        return 0;
    }
    if (mode == "in-library") {
        while (host->Calls("ORVAN_GetFCPortList") == 0)
            Sleep(1);
        return 0;
    }
    std::fprintf(stderr, "exit_child: unknown mode '%s'\n", mode.c_str());
    return 3;
}
