// The simulated setupapi.dll: the topology's adapters as network devices.
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include <setupapi.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ProgramFolder.h"

namespace {

constexpr GUID NETWORK_DEVICES = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr GUID OTHER_DEVICES = {0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

constexpr char TWO_ADAPTERS[] = R"({"adapters": [
    {"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
     "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01"}, "pci": {"bus": 3}},
    {"identifier": "{11111111-2222-4333-8444-555555555502}", "mac": "02:05:7C:00:00:02",
     "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02"},
     "pci": {"bus": 255, "device": 31, "function": 7}}]%FAULTS%})";

class SetupApi : public testing::Test {
  protected:
    SetupApi() {
        module = LoadLibraryW((ProgramFolder() / L"setupapi.dll").c_str());
        Load("");
    }
    ~SetupApi() override { FreeLibrary(module); }

    void Load(const std::string& faults) {
        std::string text = TWO_ADAPTERS;
        text.replace(text.find("%FAULTS%"), 8, faults);
        const char* error = NEED_FUNCTION(module, OrvanSim_LoadTopology)(text.c_str());
        EXPECT_EQ(nullptr, error) << error;
    }
    HDEVINFO Devices(const GUID* deviceClass = &NETWORK_DEVICES, DWORD flags = DIGCF_PRESENT) {
        return NEED_FUNCTION(module, SetupDiGetClassDevsW)(deviceClass, nullptr, nullptr, flags);
    }
    BOOL Enumerate(HDEVINFO devices, DWORD index, SP_DEVINFO_DATA& data) {
        data = {};
        data.cbSize = sizeof data;
        return NEED_FUNCTION(module, SetupDiEnumDeviceInfo)(devices, index, &data);
    }
    BOOL Property(HDEVINFO devices, SP_DEVINFO_DATA& data, DWORD property, DWORD& value, DWORD size = 4) {
        return NEED_FUNCTION(module, SetupDiGetDeviceRegistryPropertyW)(devices, &data, property, nullptr,
                                                                        reinterpret_cast<BYTE*>(&value), size, nullptr);
    }
    std::wstring InstanceId(HDEVINFO devices, SP_DEVINFO_DATA& data) {
        const HKEY key =
            NEED_FUNCTION(module, SetupDiOpenDevRegKey)(devices, &data, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
        EXPECT_NE(INVALID_HANDLE_VALUE, key);
        wchar_t text[64] = L"";
        DWORD size = sizeof text;
        EXPECT_EQ(ERROR_SUCCESS,
                  RegQueryValueExW(key, L"NetCfgInstanceId", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size));
        RegCloseKey(key);
        return text;
    }
    BOOL Destroy(HDEVINFO devices) { return NEED_FUNCTION(module, SetupDiDestroyDeviceInfoList)(devices); }

    HMODULE module;
};

int DriverKeys() {
    const std::wstring mine = L"OrvanSimDevices." + std::to_wstring(GetCurrentProcessId()) + L".";
    HKEY software = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &software);
    int count = 0;
    wchar_t name[256];
    for (DWORD i = 0, size = 256; RegEnumKeyExW(software, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i, size = 256)
        count += std::wstring_view(name).starts_with(mine);
    RegCloseKey(software);
    return count;
}

} // namespace

TEST_F(SetupApi, EnumeratesTheAdaptersWithTheirPlaces) {
    const HDEVINFO devices = Devices();
    SP_DEVINFO_DATA data;
    ASSERT_TRUE(Enumerate(devices, 1, data));
    EXPECT_EQ(L"{11111111-2222-4333-8444-555555555502}", InstanceId(devices, data));
    DWORD value = 0;
    EXPECT_TRUE(Property(devices, data, SPDRP_BUSNUMBER, value));
    EXPECT_EQ(255u, value);
    EXPECT_TRUE(Property(devices, data, SPDRP_ADDRESS, value));
    EXPECT_EQ(31u << 16 | 7u, value);
    EXPECT_FALSE(Enumerate(devices, 2, data));
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), GetLastError());
    EXPECT_TRUE(Destroy(devices));
}

TEST_F(SetupApi, DriverKeysGoWithTheSet) {
    const HDEVINFO devices = Devices();
    SP_DEVINFO_DATA data;
    Enumerate(devices, 0, data);
    InstanceId(devices, data);
    EXPECT_EQ(1, DriverKeys());
    EXPECT_TRUE(Destroy(devices));
    EXPECT_EQ(0, DriverKeys());
    EXPECT_FALSE(Destroy(devices));
    EXPECT_EQ(DWORD(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_FALSE(Enumerate(devices, 0, data)) << "a destroyed set";
}

TEST_F(SetupApi, OtherClassesHaveNoDevices) {
    const HDEVINFO devices = Devices(&OTHER_DEVICES);
    SP_DEVINFO_DATA data;
    EXPECT_FALSE(Enumerate(devices, 0, data));
    EXPECT_EQ(DWORD(ERROR_NO_MORE_ITEMS), GetLastError());
    Destroy(devices);
    EXPECT_EQ(INVALID_HANDLE_VALUE, Devices(nullptr));
    EXPECT_EQ(DWORD(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST_F(SetupApi, RefusesWrongSizesAndProperties) {
    const HDEVINFO devices = Devices();
    SP_DEVINFO_DATA data;
    ASSERT_TRUE(Enumerate(devices, 0, data));
    DWORD value = 7;
    EXPECT_FALSE(Property(devices, data, SPDRP_BUSNUMBER, value, 2));
    EXPECT_EQ(DWORD(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    EXPECT_FALSE(Property(devices, data, SPDRP_DEVICEDESC, value));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), GetLastError());
    EXPECT_EQ(7u, value);
    data.cbSize = 4;
    EXPECT_FALSE(NEED_FUNCTION(module, SetupDiEnumDeviceInfo)(devices, 0, &data));
    EXPECT_EQ(DWORD(ERROR_INVALID_USER_BUFFER), GetLastError());
    Destroy(devices);
}

TEST_F(SetupApi, FaultStatusIsTheLastError) {
    Load(R"(, "faults": [{"function": "SetupDiGetDeviceRegistryPropertyW", "status": 13, "on_call": 2,
        "adapter": "{11111111-2222-4333-8444-555555555501}"}, {"function": "SetupDiOpenDevRegKey", "status": 5}])");
    const HDEVINFO devices = Devices();
    SP_DEVINFO_DATA data;
    ASSERT_TRUE(Enumerate(devices, 0, data));
    DWORD value = 0;
    EXPECT_TRUE(Property(devices, data, SPDRP_BUSNUMBER, value));
    EXPECT_EQ(3u, value);
    EXPECT_FALSE(Property(devices, data, SPDRP_ADDRESS, value));
    EXPECT_EQ(DWORD(ERROR_INVALID_DATA), GetLastError());
    EXPECT_EQ(INVALID_HANDLE_VALUE,
              NEED_FUNCTION(module, SetupDiOpenDevRegKey)(devices, &data, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
    Destroy(devices);
}
