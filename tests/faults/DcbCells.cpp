// The DCB service: absent, stopped, refusing, hung until the call is given up, killed in mid-call, answering garbage.
// It is the simulated service itself, run by the service manager and reached through its proxy.
#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tests/faults/Cells.h"
#include "tests/faults/DcbNeighbour.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"
#include "tests/kit/HandleCount.h"

namespace {

constexpr wchar_t LINK_UP[] = L"Link up";
constexpr wchar_t UNREADABLE[] = L"DCB state could not be read";
constexpr wchar_t UNKNOWN[] = L"DCB state unknown";
constexpr wchar_t UNAVAILABLE[] = L"DCB disabled or not available";
constexpr wchar_t PFC_OFF[] = L"PFC off for the FCoE priority";
constexpr wchar_t PFC_OFF_LOCALLY[] = L"PFC disabled locally";
constexpr wchar_t OFF_REMOTELY[] = L"DCB application feature disabled on the remote side";
constexpr wchar_t OFF_LOCALLY[] = L"DCB application feature disabled locally";

// What is wrong with a call, and the link status that it makes of each function's call.
struct KIND {
    const char* name;
    const char* members; // of the fault's entry
    const wchar_t* create;
    const wchar_t* config;
    const wchar_t* app;
    const wchar_t* pfc;
    bool dies = false;
};

constexpr KIND Failure(const char* name, const char* members, bool dies = false) {
    return {name, members, UNAVAILABLE, UNAVAILABLE, UNREADABLE, UNREADABLE, dies};
}

constexpr KIND KINDS[] = {
    Failure("E_FAIL", R"("hresult": "0x80004005")"),
    Failure("E_ACCESSDENIED", R"("hresult": "0x80070005")"),
    Failure("E_OUTOFMEMORY", R"("hresult": "0x8007000E")"),
    Failure("server unavailable", R"("hresult": "0x800706BA")"),
    Failure("hung until the call is given up", R"("delay_ms": 400, "hresult": "0x8001011F")"),
    Failure("killed in mid-call", R"("throw": true)", true),
    {"slow", R"("delay_ms": 30)", LINK_UP, LINK_UP, LINK_UP, LINK_UP},
    {"garbage", R"("garbage": true)", LINK_UP, LINK_UP, PFC_OFF, PFC_OFF},
    {"success 1", R"("hresult": 1)", nullptr, UNAVAILABLE, OFF_LOCALLY, PFC_OFF_LOCALLY},
    {"success 2", R"("hresult": 2)", nullptr, UNAVAILABLE, OFF_REMOTELY, UNKNOWN},
    {"success 3", R"("hresult": 3)", nullptr, UNAVAILABLE, OFF_REMOTELY, UNKNOWN},
};

struct FUNCTION {
    const char* name;
    const wchar_t* KIND::*pStatus; // null there: the kind is none of this function's
};

constexpr FUNCTION FUNCTIONS[] = {
    {"CreateInstance", &KIND::create},
    {"get_dcb_config", &KIND::config},
    {"get_app_oper_state", &KIND::app},
    {"get_pfc_oper_state", &KIND::pfc},
};

// The adapters' link status that is expected; of a killed service's second adapter both are right.
struct EXPECTED {
    const wchar_t* first;
    const wchar_t* second;
    const wchar_t* secondToo = nullptr;
};

struct MOMENT {
    const char* name;
    const char* members;
    bool first, second; // adapters that meet the fault
};

constexpr MOMENT DCB_MOMENTS[] = {
    {"each call", "", true, true},
    {"first call", R"(, "on_call": 1)", true, false},
    {"second call", R"(, "on_call": 2)", false, true},
};

// A use of the service that the agent has no part in.
void AskService() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    IOrvanDcbIoControl* control = nullptr;
    if (SUCCEEDED(CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER,
                                   __uuidof(IOrvanDcbIoControl), reinterpret_cast<void**>(&control)))) {
        const BSTR adapter = SysAllocString(FAULT_ADAPTER);
        DCB_CONFIG config{};
        control->get_dcb_config(adapter, &config);
        SysFreeString(adapter);
        control->Release();
    }
    CoUninitialize();
}

// Handles that the run time keeps of a connection whose service was killed.
std::size_t HandlesOfAKilledCall(DcbNeighbour& service) {
    std::size_t kept = 0;
    for (const char* function : {"CreateInstance", "get_dcb_config"}) {
        for (const bool first : {true, false}) { // the first leaves more
            service.Bring(SERVICE_RUNNING);
            service.Simulate(fmt::format(R"({{"function": "{}", "throw": true}})", function));
            const std::size_t before = CountHandles();
            AskService();
            service.Settle();
            service.Simulate("");
            service.Bring(SERVICE_RUNNING);
            const std::size_t after = CountHandles();
            if (!first && after > before)
                kept = std::max(kept, after - before);
        }
    }
    return kept;
}

// The operation in that state of the service, then with a healthy one.
std::string Check(FaultHost& host, DcbNeighbour& service, DWORD state, const std::string& fault,
                  const EXPECTED& expected, bool dies, std::size_t keptHandles, const Operation& operation, bool cold) {
    return host.CheckService(
        operation, cold, dies ? keptHandles : 0,
        [&] {
            service.Bring(SERVICE_RUNNING);
            service.Simulate(fault);
            service.Bring(state);
        },
        [&] {
            if (dies && operation.Is("EnumerateHBAs"))
                service.Settle();
            service.Simulate("");
            service.Bring(SERVICE_RUNNING);
        },
        [&](std::size_t adapter, const CQelString& status) {
            const auto Is = [&](const wchar_t* text) { return text && status == CQelString(text); };
            return adapter == 0 ? Is(expected.first) : Is(expected.second) || Is(expected.secondToo);
        });
}

} // namespace

void RunDcbCells(FaultHost& host, Matrix& matrix) {
    DcbNeighbour service;
    const std::size_t kept = HandlesOfAKilledCall(service);
    host.ShowOnline(true);
    matrix.Row("DCB service", "itself");
    for (const DWORD state : {DWORD{0}, DWORD{SERVICE_STOPPED}})
        for (const bool cold : {true, false})
            for (const Operation& operation : Operations())
                matrix.Cell(
                    fmt::format("{}, {}{}", state == 0 ? "absent" : "stopped", cold ? "just started, " : "",
                                operation.name),
                    [&] {
                        return Check(host, service, state, "", {UNAVAILABLE, UNAVAILABLE}, false, 0, operation, cold);
                    });
    for (const FUNCTION& function : FUNCTIONS) {
        matrix.Row("DCB service", function.name);
        for (const KIND& kind : KINDS) {
            const wchar_t* const status = kind.*function.pStatus;
            for (const MOMENT& moment : DCB_MOMENTS) {
                if (!status)
                    continue;
                const EXPECTED expected = {moment.first ? status : LINK_UP, moment.second ? status : LINK_UP,
                                           kind.dies ? UNAVAILABLE : nullptr};
                const std::string fault =
                    fmt::format(R"({{"function": "{}", {}{}}})", function.name, kind.members, moment.members);
                for (const Operation& operation : Operations())
                    matrix.Cell(fmt::format("{}, {}, {}", kind.name, moment.name, operation.name), [&] {
                        return Check(host, service, SERVICE_RUNNING, fault, expected, kind.dies, kept, operation,
                                     false);
                    });
            }
        }
    }
    host.ShowOnline(false);
}
