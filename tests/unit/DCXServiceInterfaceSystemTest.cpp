// Whether the client of the DCB service asks for Windows' own DCB.
#include "Common/Src/DCXServiceInterface.h"

#include <string_view>

#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeDcbService.h"
#include "tests/unit/FakeServiceManager.h"
#include "tests/unit/FakeWmi.h"

namespace {

constexpr wchar_t ADAPTER[] = L"{11111111-2222-3333-4444-555555555555}";

// Makes this process see another version of Windows.
class MovedSystem {
  public:
    MovedSystem(DWORD major, DWORD minor, BYTE product)
        : m_patch(nullptr, "kernel32.dll", "GetProcAddress", reinterpret_cast<void*>(&Find)) {
        s_original = m_patch.Original<decltype(&GetProcAddress)>();
        s_version = {};
        s_version.dwMajorVersion = major;
        s_version.dwMinorVersion = minor;
        s_version.dwPlatformId = VER_PLATFORM_WIN32_NT;
        s_version.wProductType = product;
    }

  private:
    static FARPROC WINAPI Find(HMODULE module, const char* name) {
        if (std::string_view(name) == "RtlGetVersion")
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Version));
        return s_original(module, name);
    }
    static LONG WINAPI Version(RTL_OSVERSIONINFOEXW* version) {
        const ULONG size = version->dwOSVersionInfoSize;
        *version = s_version;
        version->dwOSVersionInfoSize = size;
        return 0;
    }

    static inline RTL_OSVERSIONINFOEXW s_version;
    static inline decltype(&GetProcAddress) s_original;
    ImportPatch m_patch;
};

struct SystemDcbRow {
    DWORD major;
    DWORD minor;
    BYTE product;
    bool asked;
};

TEST(DcbClientSystem, AsksServersOfWindows8OrLaterForTheirDcb) {
    PrivateHive hive;
    FakeWmi wmi;
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_RUNNING;
    FakeDcbService service;
    const SystemDcbRow rows[] = {{6, 2, VER_NT_SERVER, true},       {6, 2, VER_NT_DOMAIN_CONTROLLER, true},
                                 {6, 3, VER_NT_SERVER, true},       {10, 0, VER_NT_SERVER, true},
                                 {6, 1, VER_NT_SERVER, false},      {6, 2, VER_NT_WORKSTATION, false},
                                 {10, 0, VER_NT_WORKSTATION, false}};
    for (const auto& row : rows) {
        const MovedSystem system(row.major, row.minor, row.product);
        wmi.calls.clear();
        CDCX_ServiceInterface client(ADAPTER, FALSE);
        EXPECT_EQ(row.asked, client.IsOsDcbInstalled() != 0) << row.major << '.' << row.minor << ' ' << +row.product;
        EXPECT_EQ(row.asked, !wmi.calls.empty());
        EXPECT_EQ(0u, client.GetFeatureCount());
    }
}

TEST(DcbClientSystem, ServerWithoutDcb) {
    PrivateHive hive;
    FakeWmi wmi;
    wmi.connectResult = static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
    FakeServiceManager services;
    services[L"OrvanDCB"].state = SERVICE_RUNNING;
    FakeDcbService service;
    const MovedSystem system(10, 0, VER_NT_SERVER);
    CDCX_ServiceInterface client(ADAPTER, FALSE);
    EXPECT_FALSE(client.IsOsDcbInstalled());
    EXPECT_FALSE(wmi.calls.empty());
}

} // namespace
