// The link status of an online port, asked on threads of each kind of COM apartment: docs/dcb.md. The DCB service is
// the test's own, behind the agent's imports; COM itself is the system's.
#include <gtest/gtest.h>

#include <objbase.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tests/system/PromiseSuite.h"

namespace {

SC_HANDLE WINAPI OpenManager(const wchar_t*, const wchar_t*, DWORD) {
    return reinterpret_cast<SC_HANDLE>(1);
}
SC_HANDLE WINAPI OpenOneService(SC_HANDLE, const wchar_t*, DWORD) {
    return reinterpret_cast<SC_HANDLE>(2);
}
BOOL WINAPI QueryRunning(SC_HANDLE, SERVICE_STATUS* status) {
    *status = {};
    status->dwCurrentState = SERVICE_RUNNING;
    return TRUE;
}
BOOL WINAPI CloseService(SC_HANDLE) {
    return TRUE;
}

// The service's object by its table, of which the agent uses three slots.
void* g_slots[41];
void** g_object = g_slots;

ULONG STDMETHODCALLTYPE CountReference(void*) {
    return 1;
}
HRESULT STDMETHODCALLTYPE AnswerConfig(void*, BSTR, DCB_CONFIG* config) {
    config->lDcbEnabled = 1;
    return S_OK;
}
HRESULT STDMETHODCALLTYPE AnswerApplication(void*, BSTR, LONG, DCB_APP_STATE* state) {
    state->byPriorityMap = 8;
    return S_OK;
}
HRESULT STDMETHODCALLTYPE AnswerFlowControl(void*, BSTR, DCB_PFC_STATE* state) {
    state->lEnabled[3] = 1;
    return S_OK;
}
HRESULT WINAPI FindClass(const wchar_t*, CLSID* id) {
    *id = {};
    return S_OK;
}
HRESULT WINAPI CreateObject(const CLSID&, IUnknown*, DWORD, const IID&, void** out) {
    g_slots[1] = g_slots[2] = reinterpret_cast<void*>(&CountReference);
    g_slots[15] = reinterpret_cast<void*>(&AnswerFlowControl);
    g_slots[19] = reinterpret_cast<void*>(&AnswerApplication);
    g_slots[40] = reinterpret_cast<void*>(&AnswerConfig);
    *out = &g_object;
    return S_OK;
}

class PromiseApartments : public testing::Test {
  protected:
    // What a thread that did that with COM is told of the adapter's link.
    std::wstring LinkStatus(HRESULT (*initialize)()) {
        std::wstring status;
        std::thread([&] {
            const HRESULT initialized = initialize();
            std::vector<QEL_FCOE_HBA> hbas;
            EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, FIRST, hbas));
            if (hbas.size() == 1)
                status = hbas[0].strFcoeLinkStatus;
            if (initialized == S_OK)
                CoUninitialize();
        }).join();
        return status;
    }

    PromiseSuite suite;
    const HMODULE module = suite.host.Module();
    ImportPatch manager{module, "ADVAPI32.dll", "OpenSCManagerW", reinterpret_cast<void*>(&OpenManager)};
    ImportPatch open{module, "ADVAPI32.dll", "OpenServiceW", reinterpret_cast<void*>(&OpenOneService)};
    ImportPatch query{module, "ADVAPI32.dll", "QueryServiceStatus", reinterpret_cast<void*>(&QueryRunning)};
    ImportPatch close{module, "ADVAPI32.dll", "CloseServiceHandle", reinterpret_cast<void*>(&CloseService)};
    ImportPatch find{module, "ole32.dll", "CLSIDFromProgID", reinterpret_cast<void*>(&FindClass)};
    ImportPatch create{module, "ole32.dll", "CoCreateInstance", reinterpret_cast<void*>(&CreateObject)};
};

TEST_F(PromiseApartments, AThreadWithoutComReadsTheLinkStatus) {
    EXPECT_EQ(L"Link up", LinkStatus([]() -> HRESULT { return E_FAIL; }));
}

TEST_F(PromiseApartments, AThreadOfTheMultithreadedApartmentReadsTheLinkStatus) {
    EXPECT_EQ(L"Link up", LinkStatus([] { return CoInitializeEx(nullptr, COINIT_MULTITHREADED); }));
}

TEST_F(PromiseApartments, AThreadOfASingleThreadedApartmentCannotReadTheLinkStatus) {
    EXPECT_EQ(L"DCB disabled or not available",
              LinkStatus([] { return CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }));
    EXPECT_TRUE(suite.host.Logged("Initialize() CoInitializeEx() failed - hr=0x80010106"));
}

TEST_F(PromiseApartments, TheCallersThreadIsLeftAsItWas) {
    HRESULT again = E_FAIL;
    std::thread([&] {
        std::vector<QEL_FCOE_HBA> hbas;
        EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateHBAs, FIRST, hbas));
        again = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        if (SUCCEEDED(again))
            CoUninitialize();
    }).join();
    EXPECT_EQ(S_OK, again);
}

} // namespace
