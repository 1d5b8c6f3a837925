// Devices of the network class, behind the test program's imports of SetupAPI. Driver keys lie in the private hive.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include <setupapi.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/PrivateHive.h"

struct FakeDevice {
    std::optional<std::wstring> netCfgInstanceId; // nothing: the driver key has no such value
    std::optional<DWORD> bus;
    std::optional<DWORD> address;
    bool driverKey = true; // false: it cannot be opened
    DWORD enumError = 0;   // not 0: the enumeration refuses it for this reason
};

class FakeSetupApi {
  public:
    explicit FakeSetupApi(PrivateHive& hive);
    ~FakeSetupApi();
    FakeSetupApi(const FakeSetupApi&) = delete;
    FakeSetupApi& operator=(const FakeSetupApi&) = delete;

    std::vector<FakeDevice> devices;
    bool classOpens = true;

    // What happened.
    std::vector<GUID> classes;
    int openSets = 0;
    std::vector<DWORD> enumerated;
    std::vector<DWORD> keysOpened;   // device indexes
    std::vector<REGSAM> keyAccess;   //
    std::vector<DWORD> propertyRead; // property numbers

  private:
    static HDEVINFO WINAPI GetClassDevs(const GUID* classId, const wchar_t*, HWND, DWORD);
    static BOOL WINAPI EnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* data);
    static HKEY WINAPI OpenKey(HDEVINFO set, SP_DEVINFO_DATA* data, DWORD scope, DWORD profile, DWORD type,
                               REGSAM access);
    static BOOL WINAPI GetProperty(HDEVINFO set, SP_DEVINFO_DATA* data, DWORD property, DWORD* type, BYTE* buffer,
                                   DWORD size, DWORD* needed);
    static BOOL WINAPI Destroy(HDEVINFO set);

    static inline FakeSetupApi* s_current;
    PrivateHive& m_hive;
    ImportPatch m_getClassDevs, m_enum, m_openKey, m_getProperty, m_destroy;
};
