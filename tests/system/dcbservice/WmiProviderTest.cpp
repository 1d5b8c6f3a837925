// The simulated WMI provider in place of the system's locator.
#include <fstream>

#include <gtest/gtest.h>

#include <wbemcli.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/Helper.h"
#include "Common/Src/Owner.h"
#include "simulator/control/SimControl.h"
#include "tests/kit/DcbSystem.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/ProgramFolder.h"

namespace {

std::wstring RegisteredServer() {
    wchar_t text[MAX_PATH] = L"";
    DWORD size = sizeof text;
    RegGetValueW(HKEY_CLASSES_ROOT, L"CLSID\\{4590F811-1D3A-11D0-891F-00AA004B2E24}\\InprocServer32", nullptr,
                 RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, text, &size);
    return text;
}

class WmiProvider : public testing::Test {
  protected:
    WmiProvider()
        : module(LoadLibraryW((ProgramFolder() / L"OrvanWmi.dll").c_str())), systemServer(RegisteredServer()) {
        EXPECT_EQ(S_OK, Call("DllRegisterServer"));
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", system.TopologyFile().c_str());
        EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    }
    ~WmiProvider() override {
        CoUninitialize();
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr);
        EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
        EXPECT_EQ(systemServer, RegisteredServer());
    }

    HRESULT Call(const char* function) { return NeedFunction<HRESULT(WINAPI*)()>(module.Get(), function)(); }
    void Simulate(const std::string& topology) { std::ofstream(system.TopologyFile()) << topology; }
    // Connects to a namespace and runs a query there; the first failure.
    HRESULT Query(const wchar_t* space, const wchar_t* query, const wchar_t* language = L"WQL") {
        CQelComPointer<IWbemLocator> locator;
        HRESULT result = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                          reinterpret_cast<void**>(locator.Put()));
        if (FAILED(result))
            return result;
        CQelComPointer<IWbemServices> services;
        result = locator.Get()->ConnectServer(CQelBstr(SysAllocString(space)).Get(), nullptr, nullptr, nullptr, 0,
                                              nullptr, nullptr, services.Put());
        if (FAILED(result))
            return result;
        CQelComPointer<IEnumWbemClassObject> instances;
        result =
            services.Get()->ExecQuery(CQelBstr(SysAllocString(language)).Get(), CQelBstr(SysAllocString(query)).Get(),
                                      WBEM_FLAG_FORWARD_ONLY, nullptr, instances.Put());
        EXPECT_EQ(SUCCEEDED(result), static_cast<bool>(instances));
        return result;
    }

    DcbSystem system; // for its turn and its folder
    CQelModule module;
    std::wstring systemServer;
    LogCapture log;
};

TEST_F(WmiProvider, SystemWithDcb) {
    Simulate(R"({"os_dcb": true, "adapters": []})");
    EXPECT_TRUE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_TRUE(log.Has("Query WMI_MSFT_NET_QOS_DCBX_SETTING_DATA was successful, MS DCB is installed"));
}

TEST_F(WmiProvider, SystemWithoutDcb) {
    Simulate(R"({"os_dcb": false, "adapters": []})");
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_TRUE(log.Has("Failed: After ExecQuery -> SELECT * FROM WMI_MSFT_NET_QOS_DCBX_SETTING_DATA "
                        "pEnumInstanceName == NULL"));
}

TEST_F(WmiProvider, FaultsOfTheQuery) {
    Simulate(R"({"os_dcb": true, "adapters": [], "faults": [{"function": "ExecQuery", "hresult": "0x80041003"}]})");
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    Simulate(R"({"os_dcb": true, "adapters": [], "faults": [{"function": "ExecQuery", "throw": true}]})");
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    Simulate(R"({"os_dcb": true, "adapters": []})");
    EXPECT_TRUE(CHelper().IsMicrosoftDcbInstalled());
    Simulate("{");
    EXPECT_TRUE(CHelper().IsMicrosoftDcbInstalled()) << "the last good topology stays";
}

TEST_F(WmiProvider, ShowsATextThatAnotherModuleWasGiven) {
    Simulate(R"({"os_dcb": false, "adapters": []})");
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
    const CQelModule library(LoadLibraryW(L"orvanhapi.dll"));
    EXPECT_EQ(nullptr, NEED_FUNCTION(library.Get(), OrvanSim_LoadTopology)(R"({"os_dcb": true, "adapters": []})"));
    EXPECT_TRUE(CHelper().IsMicrosoftDcbInstalled());
    EXPECT_EQ(nullptr, NEED_FUNCTION(library.Get(), OrvanSim_ReloadTopology)());
    EXPECT_FALSE(CHelper().IsMicrosoftDcbInstalled());
}

TEST_F(WmiProvider, JudgesQueriesAsWmiDoes) {
    Simulate(R"({"os_dcb": true, "adapters": []})");
    constexpr wchar_t SPACE[] = L"ROOT/StandardCimV2";
    EXPECT_EQ(S_OK, Query(SPACE, L"select * from msft_netqosdcbxsettingdata"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_CLASS), Query(SPACE, L"SELECT * FROM Win32_Fan"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_QUERY), Query(SPACE, L"DCB?"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_QUERY_TYPE),
              Query(SPACE, L"SELECT * FROM MSFT_NetQosDcbxSettingData", L"SQL"));
}

TEST_F(WmiProvider, OtherNamespacesStayTheSystems) {
    EXPECT_EQ(S_OK, Query(L"root\\cimv2", L"SELECT * FROM Win32_OperatingSystem"));
    EXPECT_EQ(static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE), Query(L"root\\nowhere", L"SELECT * FROM X"));
}

TEST_F(WmiProvider, RegisteringTwiceKeepsTheSystemsLocator) {
    EXPECT_EQ(S_OK, Call("DllRegisterServer"));
    EXPECT_NE(systemServer, RegisteredServer());
    EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
    EXPECT_EQ(systemServer, RegisteredServer());
    EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
}

TEST_F(WmiProvider, UnloadsWhenNothingIsLeft) {
    Simulate(R"({"os_dcb": true, "adapters": []})");
    CQelComPointer<IWbemLocator> locator;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                     reinterpret_cast<void**>(locator.Put())));
    EXPECT_EQ(S_FALSE, Call("DllCanUnloadNow"));
    locator.Reset();
    EXPECT_EQ(S_OK, Call("DllCanUnloadNow"));
}

} // namespace
