// A host's own test on the simulated suite: it starts a world, changes it, injects a fault, and checks what the host
// makes of each. Only the function Alarms belongs to the host.
//
// Run: beside the suite's modules, once setup.cmd has set the suite up; docs/simulator.md tells more.
#include <cstdio>
#include <string>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "FcoeAgent/SimControl.h"

namespace {

// What an administrator is to hear of: each adapter whose link is not up, or that does not answer.
std::vector<std::wstring> Alarms(CQelFcoeAgentIntf& agent) {
    std::vector<std::wstring> alarms;
    std::vector<QEL_FCOE_HBA> hbas;
    if (!agent.EnumerateHBAs(CQelString(), hbas, 0))
        alarms.push_back(L"the adapters cannot be read");
    for (const QEL_FCOE_HBA& hba : hbas) {
        if (hba.strDeviceId.empty()) // the vendor library refused: not even the name is there
            alarms.push_back(L"an adapter does not answer");
        else if (hba.strFcoeLinkStatus != L"Link up")
            alarms.push_back(std::wstring(hba.strSecondId) + L": " + hba.strFcoeLinkStatus.c_str());
    }
    return alarms;
}

// A topology of one adapter. port: more of its port, as ",\"state\": 3". rest: what else it has, as its faults.
std::string World(const std::string& port = {}, const std::string& rest = {}) {
    return R"({"adapters": [{"identifier": "{00000000-0000-4000-8000-00000000000A}", "display_name": "Lab",
                             "mac": "02:05:7C:00:00:0A",
                             "port": {"node_wwn": "20:00:02:05:7C:00:00:0A", "port_wwn": "20:01:02:05:7C:00:00:0A")" +
           port + "}}]" + rest + "}";
}

// The agent, loaded as every host loads it, and the control of the suite's vendor library.
struct Suite {
    CQelFcoeAgentIntf* agent = nullptr;
    PFN_OrvanSim_LoadTopology loadTopology = nullptr;
};

template <class Function> Function Export(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

Suite Load() {
    wchar_t file[MAX_PATH];
    DWORD bytes = sizeof file;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt", L"InstalledDir",
                 RRF_RT_REG_SZ, nullptr, file, &bytes);
    Suite suite;
    // Loaded first, the simulated library is the one that the agent finds.
    const HMODULE library = LoadLibraryW(L"orvanhapi.dll");
    const HMODULE agent = LoadLibraryW(file);
    if (library)
        suite.loadTopology = Export<PFN_OrvanSim_LoadTopology>(library, "OrvanSim_LoadTopology");
    if (const auto get = agent ? Export<PFN_GetFcoeAgent>(agent, "GetFcoeAgent") : nullptr)
        suite.agent = get();
    return suite;
}

int g_failures = 0;

void Expect(const Suite& suite, const char* what, const std::string& world, const std::vector<std::wstring>& alarms) {
    const char* const wrong = suite.loadTopology(world.c_str());
    Sleep(20); // the agent answers from what it has read for ten milliseconds
    const std::vector<std::wstring> seen = Alarms(*suite.agent);
    const bool good = !wrong && seen == alarms;
    std::printf("%s: %s\n", good ? "passed" : "FAILED", what);
    if (wrong)
        std::printf("  %s\n", wrong);
    for (const std::wstring& alarm : seen)
        std::printf("  alarm: %ls\n", alarm.c_str());
    g_failures += !good;
}

} // namespace

int main() {
    const Suite suite = Load();
    if (!suite.agent || !suite.loadTopology) {
        std::fputs("The simulated suite is not set up, or not beside this program.\n", stderr);
        return 2;
    }
    Expect(suite, "a healthy adapter raises no alarm", World(), {});
    Expect(suite, "a port that goes down is told", World(R"(, "state": 3)"), {L"Lab: Port not online"});
    Expect(suite, "a port that is back is told no more", World(), {});
    Expect(suite, "a DCB service that fails is told, not called a cable",
           World({}, R"(, "faults": [{"function": "get_dcb_config", "hresult": "0x80004005"}])"),
           {L"Lab: DCB disabled or not available"});
    Expect(suite, "an adapter that does not answer is told",
           World({}, R"(, "faults": [{"function": "GetAdapterPortAttributes", "status": 1}])"),
           {L"an adapter does not answer"});
    suite.agent->Uninstall(0);
    return g_failures ? 1 : 0;
}
