// What registering the simulated WMI provider leaves in the registry, and where it refuses. In a hive of the test's
// own.
#include <cstring>

#include <gtest/gtest.h>

#include "Common/Src/Owner.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/ProgramFolder.h"

namespace {

constexpr wchar_t KEY[] = L"SOFTWARE\\Classes\\CLSID\\{4590F811-1D3A-11D0-891F-00AA004B2E24}\\InprocServer32";
constexpr wchar_t KEPT[] = L"ReplacedByOrvanWmi";
constexpr wchar_t SYSTEM_SERVER[] = L"%systemroot%\\system32\\wbem\\wbemprox.dll";

// As on Windows, where no module of the system has that function.
FARPROC WINAPI FindOnWindows(HMODULE module, const char* name) {
    return std::strcmp(name, "wine_get_version") == 0 ? nullptr : GetProcAddress(module, name);
}

struct Value {
    std::wstring text;
    DWORD type = 0; // 0: there is none
    bool operator==(const Value&) const = default;
};

void PrintTo(const Value& value, std::ostream* stream) {
    *stream << testing::PrintToString(value.text) << " of type " << value.type;
}

Value Read(const wchar_t* name) {
    Value value;
    wchar_t text[MAX_PATH] = L"";
    DWORD size = sizeof text;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, KEY, name, RRF_RT_ANY | RRF_NOEXPAND, &value.type, text, &size) == 0)
        value.text = text;
    return value;
}

class WmiRegistration : public testing::Test {
  protected:
    WmiRegistration() { hive.SetRaw(KEY, nullptr, REG_EXPAND_SZ, SYSTEM_SERVER, sizeof SYSTEM_SERVER); }
    HRESULT Call(const char* function) { return NeedFunction<HRESULT(WINAPI*)()>(module.Get(), function)(); }

    const std::filesystem::path file = ProgramFolder() / L"OrvanWmi.dll";
    const Value system{SYSTEM_SERVER, REG_EXPAND_SZ};
    PrivateHive hive;
    CQelModule module{LoadLibraryW(file.c_str())};
};

TEST_F(WmiRegistration, KeepsTheTypeOfTheSystemsServer) {
    EXPECT_EQ(S_OK, Call("DllRegisterServer"));
    EXPECT_EQ((Value{file.wstring(), REG_SZ}), Read(nullptr));
    EXPECT_EQ(system, Read(KEPT));
    EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
    EXPECT_EQ(system, Read(nullptr));
    EXPECT_EQ(Value{}, Read(KEPT));
}

TEST_F(WmiRegistration, IsRefusedOnWindowsAndWritesNothing) {
    const ImportPatch windows(module.Get(), "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(FindOnWindows));
    EXPECT_EQ(E_ACCESSDENIED, Call("DllRegisterServer"));
    EXPECT_EQ(system, Read(nullptr));
    EXPECT_EQ(Value{}, Read(KEPT));
}

// Should it have been registered in another way.
TEST_F(WmiRegistration, CanBeTakenBackOnWindows) {
    ASSERT_EQ(S_OK, Call("DllRegisterServer"));
    const ImportPatch windows(module.Get(), "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(FindOnWindows));
    EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
    EXPECT_EQ(system, Read(nullptr));
}

} // namespace
