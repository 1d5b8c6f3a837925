#include "tests/unit/FakeSetupApi.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {
int g_marker; // its address is the device set
}

FakeSetupApi::FakeSetupApi(PrivateHive& hive)
    : m_hive(hive),
      m_getClassDevs(nullptr, "SETUPAPI.dll", "SetupDiGetClassDevsW", reinterpret_cast<void*>(&GetClassDevs)),
      m_enum(nullptr, "SETUPAPI.dll", "SetupDiEnumDeviceInfo", reinterpret_cast<void*>(&EnumDeviceInfo)),
      m_openKey(nullptr, "SETUPAPI.dll", "SetupDiOpenDevRegKey", reinterpret_cast<void*>(&OpenKey)),
      m_getProperty(nullptr, "SETUPAPI.dll", "SetupDiGetDeviceRegistryPropertyW",
                    reinterpret_cast<void*>(&GetProperty)),
      m_destroy(nullptr, "SETUPAPI.dll", "SetupDiDestroyDeviceInfoList", reinterpret_cast<void*>(&Destroy)) {
    s_current = this;
}

FakeSetupApi::~FakeSetupApi() {
    EXPECT_EQ(0, openSets) << "a device set is left open";
    s_current = nullptr;
}

HDEVINFO WINAPI FakeSetupApi::GetClassDevs(const GUID* classId, const wchar_t* enumerator, HWND window, DWORD flags) {
    EXPECT_EQ(nullptr, enumerator);
    EXPECT_EQ(nullptr, window);
    EXPECT_EQ(static_cast<DWORD>(DIGCF_PRESENT), flags);
    s_current->classes.push_back(*classId);
    if (!s_current->classOpens)
        return INVALID_HANDLE_VALUE;
    ++s_current->openSets;
    return &g_marker;
}

BOOL WINAPI FakeSetupApi::EnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* data) {
    EXPECT_EQ(&g_marker, set);
    EXPECT_EQ(sizeof(SP_DEVINFO_DATA), data->cbSize);
    s_current->enumerated.push_back(index);
    if (index >= s_current->devices.size()) {
        SetLastError(ERROR_NO_MORE_ITEMS);
        return FALSE;
    }
    if (const DWORD error = s_current->devices[index].enumError) {
        SetLastError(error);
        return FALSE;
    }
    data->DevInst = index;
    return TRUE;
}

HKEY WINAPI FakeSetupApi::OpenKey(HDEVINFO set, SP_DEVINFO_DATA* data, DWORD scope, DWORD profile, DWORD type,
                                  REGSAM access) {
    EXPECT_EQ(&g_marker, set);
    EXPECT_EQ(static_cast<DWORD>(DICS_FLAG_GLOBAL), scope);
    EXPECT_EQ(0u, profile);
    EXPECT_EQ(static_cast<DWORD>(DIREG_DRV), type);
    s_current->keysOpened.push_back(data->DevInst);
    s_current->keyAccess.push_back(access);
    const FakeDevice& device = s_current->devices.at(data->DevInst);
    if (!device.driverKey) {
        SetLastError(ERROR_ACCESS_DENIED);
        return static_cast<HKEY>(INVALID_HANDLE_VALUE);
    }
    const std::wstring path = L"SOFTWARE\\FakeDrivers\\" + std::to_wstring(data->DevInst);
    s_current->m_hive.Set(path.c_str(), L"DriverDesc", std::wstring(L"a network adapter"));
    if (device.netCfgInstanceId)
        s_current->m_hive.Set(path.c_str(), L"NetCfgInstanceId", *device.netCfgInstanceId);
    HKEY key = nullptr;
    EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &key));
    return key;
}

BOOL WINAPI FakeSetupApi::GetProperty(HDEVINFO set, SP_DEVINFO_DATA* data, DWORD property, DWORD* type, BYTE* buffer,
                                      DWORD size, DWORD*) {
    EXPECT_EQ(&g_marker, set);
    s_current->propertyRead.push_back(property);
    const FakeDevice& device = s_current->devices.at(data->DevInst);
    const auto value = property == 21 ? device.bus : property == 28 ? device.address : std::nullopt;
    if (!value || size < sizeof(DWORD)) {
        SetLastError(ERROR_INVALID_DATA);
        return FALSE;
    }
    if (type)
        *type = REG_DWORD;
    std::memcpy(buffer, &*value, sizeof(DWORD));
    return TRUE;
}

BOOL WINAPI FakeSetupApi::Destroy(HDEVINFO set) {
    EXPECT_EQ(&g_marker, set);
    --s_current->openSets;
    return TRUE;
}
