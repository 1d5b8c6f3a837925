// The OS probe, with the two system functions it looks up replaced.
#include "Common/Src/OSType.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/PrivateHive.h"

namespace {

constexpr WORD X86 = 0, ITANIUM = 6, X64 = 9;
constexpr BYTE WORKSTATION = 1, DOMAIN_CONTROLLER = 2, SERVER = 3;
constexpr wchar_t OVERRIDES[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\TOLV";

struct SYSTEM {
    DWORD major, minor;
    BYTE product = WORKSTATION;
    WORD processor = X64;
    DWORD platform = 2;
    LONG status = 0;
    bool hasNativeSystemInfo = true;
    bool hasRtlGetVersion = true;
};

SYSTEM g_system;
DWORD g_versionSize;
FARPROC(WINAPI* g_getProcAddress)(HMODULE, const char*);

LONG WINAPI FakeRtlGetVersion(RTL_OSVERSIONINFOEXW* version) {
    g_versionSize = version->dwOSVersionInfoSize;
    version->dwMajorVersion = g_system.major;
    version->dwMinorVersion = g_system.minor;
    version->dwPlatformId = g_system.platform;
    version->wProductType = g_system.product;
    return g_system.status;
}

void WINAPI FakeGetNativeSystemInfo(SYSTEM_INFO* info) {
    info->wProcessorArchitecture = g_system.processor;
}

template <class F> FARPROC AsProc(F* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

FARPROC WINAPI FakeGetProcAddress(HMODULE module, const char* function) {
    if (module == GetModuleHandleW(L"ntdll.dll") && std::strcmp(function, "RtlGetVersion") == 0)
        return g_system.hasRtlGetVersion ? AsProc(FakeRtlGetVersion) : nullptr;
    if (module == GetModuleHandleW(L"kernel32.dll") && std::strcmp(function, "GetNativeSystemInfo") == 0)
        return g_system.hasNativeSystemInfo ? AsProc(FakeGetNativeSystemInfo) : nullptr;
    return g_getProcAddress(module, function);
}

COSType Probe(const SYSTEM& system, bool overrides = false) {
    g_system = system;
    const ImportPatch patch(nullptr, "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(&FakeGetProcAddress));
    g_getProcAddress = patch.Original<decltype(g_getProcAddress)>();
    return COSType(overrides);
}

// The probed version, which nothing hands out: it lies behind the table pointer.
RTL_OSVERSIONINFOEXW VersionOf(const COSType& os) {
    RTL_OSVERSIONINFOEXW version;
    std::memcpy(&version, reinterpret_cast<const char*>(&os) + sizeof(void*), sizeof version);
    return version;
}

int Type(const SYSTEM& system) {
    return Probe(system).GetOSType();
}

TEST(OSType, TableOfTypes) {
    const struct {
        DWORD major, minor;
        BYTE product;
        WORD processor;
        int type;
    } rows[] = {
        {5, 1, WORKSTATION, X86, 7},
        {5, 1, WORKSTATION, X64, 7},
        {5, 1, SERVER, ITANIUM, 7},
        {5, 2, WORKSTATION, X64, 9},
        {5, 2, WORKSTATION, ITANIUM, 8},
        {5, 2, WORKSTATION, X86, 0},
        {5, 2, SERVER, X64, 12},
        {5, 2, SERVER, ITANIUM, 11},
        {5, 2, SERVER, X86, 10},
        {5, 2, DOMAIN_CONTROLLER, X64, 12},
        {5, 2, DOMAIN_CONTROLLER, ITANIUM, 11},
        {5, 2, DOMAIN_CONTROLLER, X86, 10},
        {5, 2, 4, X64, 0},
        {6, 0, WORKSTATION, X64, 14},
        {6, 0, WORKSTATION, X86, 13},
        {6, 0, WORKSTATION, ITANIUM, 13},
        {6, 0, SERVER, X64, 16},
        {6, 0, SERVER, ITANIUM, 17},
        {6, 0, SERVER, X86, 15},
        {6, 0, DOMAIN_CONTROLLER, X64, 16},
        {6, 0, DOMAIN_CONTROLLER, ITANIUM, 17},
        {6, 0, DOMAIN_CONTROLLER, X86, 15},
        {6, 0, 0, X64, 0},
        {6, 1, WORKSTATION, X64, 19},
        {6, 1, WORKSTATION, X86, 18},
        {6, 1, WORKSTATION, ITANIUM, 18},
        {6, 1, SERVER, X64, 20},
        {6, 1, SERVER, ITANIUM, 21},
        {6, 1, SERVER, X86, 0},
        {6, 1, 0, X64, 20},
        {6, 2, WORKSTATION, X86, 22},
        {6, 2, SERVER, ITANIUM, 22},
        {6, 2, WORKSTATION, X64, 23},
        {6, 2, SERVER, X64, 24},
        {6, 3, SERVER, X86, 25},
        {6, 3, WORKSTATION, X64, 26},
        {6, 3, DOMAIN_CONTROLLER, X64, 27},
        {10, 0, WORKSTATION, X86, 28},
        {10, 0, WORKSTATION, X64, 29},
        {10, 0, SERVER, X64, 30},
        {5, 0, WORKSTATION, X64, 0},
        {6, 4, WORKSTATION, X64, 0},
        {10, 1, WORKSTATION, X64, 0},
        {11, 0, WORKSTATION, X64, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.type, Type({row.major, row.minor, row.product, row.processor}))
            << row.major << '.' << row.minor << " product " << int(row.product) << " processor " << row.processor;
}

TEST(OSType, OldVersionsCountOnlyOnTheNtPlatform) {
    SYSTEM system{5, 1};
    system.platform = 1;
    EXPECT_EQ(0, Type(system));
    system.minor = 2;
    EXPECT_EQ(0, Type(system));
    system.product = SERVER;
    EXPECT_EQ(0, Type(system));
    system = {6, 0};
    system.platform = 1;
    EXPECT_EQ(14, Type(system));
}

TEST(OSType, Server2008R2OnX64) {
    const COSType os = Probe({6, 1, SERVER});
    EXPECT_EQ(20, os.GetOSType());
    EXPECT_EQ(2u, os.Generation());
    EXPECT_TRUE(os.IsServer2008R2Family());
    EXPECT_FALSE(os.IsWindows7Family());
    EXPECT_FALSE(os.IsWindows8OrLater());
}

TEST(OSType, Windows10WorkstationOnX64) {
    const COSType os = Probe({10, 0});
    EXPECT_EQ(29, os.GetOSType());
    EXPECT_EQ(2u, os.Generation());
    EXPECT_FALSE(os.IsWindows8Family());
    EXPECT_TRUE(os.IsWindows8OrLater());
    EXPECT_FALSE(os.IsServerOfWindows8OrLater());
}

TEST(OSType, VistaOnX64) {
    const COSType os = Probe({6, 0});
    EXPECT_EQ(14, os.GetOSType());
    EXPECT_EQ(1u, os.Generation());
    EXPECT_TRUE(os.IsVistaOrLater());
    EXPECT_FALSE(os.IsWindows8OrLater());
}

TEST(OSType, Generations) {
    EXPECT_EQ(0u, Probe({5, 1}).Generation());
    EXPECT_EQ(0u, Probe({5, 2, SERVER}).Generation());
    EXPECT_EQ(1u, Probe({6, 0, SERVER}).Generation());
    EXPECT_EQ(2u, Probe({6, 1}).Generation());
    EXPECT_EQ(2u, Probe({6, 1, WORKSTATION, X86}).Generation());
    EXPECT_EQ(2u, Probe({6, 1, SERVER, ITANIUM}).Generation());
    EXPECT_EQ(1u, Probe({6, 1, SERVER, X86}).Generation()); // no type, so no family
    EXPECT_EQ(2u, Probe({6, 2}).Generation());
    EXPECT_EQ(2u, Probe({6, 3, SERVER}).Generation());
    EXPECT_EQ(2u, Probe({11, 0}).Generation());
}

TEST(OSType, Processors) {
    EXPECT_TRUE(Probe({6, 0, SERVER, X64}).IsX64());
    EXPECT_FALSE(Probe({6, 0, SERVER, X64}).IsItanium());
    EXPECT_TRUE(Probe({6, 0, SERVER, ITANIUM}).IsItanium());
    EXPECT_FALSE(Probe({6, 0, SERVER, ITANIUM}).IsX64());
    EXPECT_FALSE(Probe({6, 0, SERVER, X86}).IsX64());
    EXPECT_FALSE(Probe({6, 0, SERVER, X86}).IsItanium());
}

TEST(OSType, WithoutGetNativeSystemInfoNothingIsX64) {
    SYSTEM system{10, 0};
    system.hasNativeSystemInfo = false;
    const COSType os = Probe(system);
    EXPECT_FALSE(os.IsX64());
    EXPECT_FALSE(os.IsItanium());
    EXPECT_EQ(28, os.GetOSType());
}

TEST(OSType, FamiliesOfWindows8) {
    for (const SYSTEM& system : {SYSTEM{6, 2}, SYSTEM{6, 2, SERVER}, SYSTEM{6, 2, WORKSTATION, X86}})
        EXPECT_TRUE(Probe(system).IsWindows8Family());
    EXPECT_FALSE(Probe({6, 3}).IsWindows8Family());
    EXPECT_TRUE(Probe({6, 3}).IsWindows8OrLater());
    EXPECT_TRUE(Probe({7, 0}).IsWindows8OrLater());
    EXPECT_FALSE(Probe({6, 1}).IsWindows8OrLater());
    EXPECT_TRUE(Probe({6, 1}).IsWindows7Family());
    EXPECT_TRUE(Probe({6, 1, WORKSTATION, X86}).IsWindows7Family());
    EXPECT_FALSE(Probe({6, 1, SERVER}).IsWindows7Family());
    EXPECT_TRUE(Probe({6, 1, SERVER, ITANIUM}).IsServer2008R2Family());
    EXPECT_FALSE(Probe({6, 0, SERVER}).IsServer2008R2Family());
}

TEST(OSType, ServersOfWindows8OrLater) {
    EXPECT_TRUE(Probe({6, 2, SERVER}).IsServerOfWindows8OrLater());
    EXPECT_TRUE(Probe({10, 0, DOMAIN_CONTROLLER}).IsServerOfWindows8OrLater());
    EXPECT_FALSE(Probe({6, 2}).IsServerOfWindows8OrLater());
    EXPECT_FALSE(Probe({6, 1, SERVER}).IsServerOfWindows8OrLater());
}

TEST(OSType, WorkstationIsProductTypeOne) {
    EXPECT_TRUE(Probe({10, 0, WORKSTATION}).IsWorkstation());
    EXPECT_FALSE(Probe({10, 0, DOMAIN_CONTROLLER}).IsWorkstation());
    EXPECT_FALSE(Probe({10, 0, 0}).IsWorkstation());
}

TEST(OSType, VistaOrLaterNeedsTheNtPlatform) {
    SYSTEM system{6, 0};
    system.platform = 1;
    EXPECT_FALSE(Probe(system).IsVistaOrLater());
    EXPECT_FALSE(Probe({5, 2}).IsVistaOrLater());
}

TEST(OSType, UnknownVersionHasNoType) {
    SYSTEM system{10, 0};
    system.status = static_cast<LONG>(0xC0000001);
    EXPECT_EQ(0, Type(system));
    system.hasRtlGetVersion = false;
    const COSType os = Probe(system);
    EXPECT_EQ(0, os.GetOSType());
    EXPECT_EQ(0u, os.Generation());
}

TEST(OSType, AsksWithTheRecordsSize) {
    Probe({10, 0});
    EXPECT_EQ(284u, g_versionSize);
}

TEST(OSType, OverridesReplaceTheProbedVersion) {
    PrivateHive hive;
    hive.Set(OVERRIDES, L"OSMajorVersion", L"6");
    hive.Set(OVERRIDES, L"OSMinorVersion", L"1");
    hive.Set(OVERRIDES, L"OSProductType", L"3");
    hive.Set(OVERRIDES, L"OSPlatformID", L"2");
    hive.Set(OVERRIDES, L"OSBuildNumber", L"7601");
    hive.Set(OVERRIDES, L"OSServicePackMajor", L"1");
    hive.Set(OVERRIDES, L"OSServicePackMinor", L"2");
    hive.Set(OVERRIDES, L"OSCSDVersion", std::wstring(200, L'x'));
    SYSTEM system{10, 0};
    system.platform = 1;
    const COSType os = Probe(system, true);
    EXPECT_EQ(20, os.GetOSType());
    EXPECT_TRUE(os.IsVistaOrLater());
    const RTL_OSVERSIONINFOEXW version = VersionOf(os);
    EXPECT_EQ(284u, version.dwOSVersionInfoSize);
    EXPECT_EQ(6u, version.dwMajorVersion);
    EXPECT_EQ(1u, version.dwMinorVersion);
    EXPECT_EQ(7601u, version.dwBuildNumber);
    EXPECT_EQ(2u, version.dwPlatformId);
    EXPECT_EQ(1u, version.wServicePackMajor);
    EXPECT_EQ(2u, version.wServicePackMinor);
    EXPECT_EQ(SERVER, version.wProductType);
    EXPECT_EQ(std::wstring(127, L'x'), version.szCSDVersion) << "with its terminator it fills the field";
    EXPECT_EQ(29, Probe(system, false).GetOSType()) << "only when asked for";
}

TEST(OSType, MissingOverridesLeaveTheProbedFields) {
    PrivateHive hive;
    EXPECT_EQ(29, Probe({10, 0}, true).GetOSType()) << "no key";
    hive.Set(OVERRIDES, L"OSProductType", L"2");
    EXPECT_EQ(30, Probe({10, 0}, true).GetOSType());
    hive.Set(OVERRIDES, L"OSMajorVersion", L"nonsense");
    EXPECT_EQ(0, Probe({10, 0}, true).GetOSType()) << "no number is 0";
}

TEST(OSType, OverridesDoNotMakeAVersionKnown) {
    PrivateHive hive;
    hive.Set(OVERRIDES, L"OSMajorVersion", L"10");
    SYSTEM system{10, 0};
    system.status = static_cast<LONG>(0xC0000001);
    EXPECT_EQ(0, Probe(system, true).GetOSType());
}

TEST(OSType, TypeIsVirtual) {
    struct Other : COSType {
        Other() : COSType(false) {}
        BYTE GetOSType() const override { return 18; }
    };
    g_system = {5, 1};
    EXPECT_TRUE(Other().IsWindows7Family());
}

TEST(OSType, GenerationOfTheProcessIsThatOfTheRealSystem) {
    const ULONG real = COSType(false).Generation();
    g_system = {5, 1};
    const ImportPatch patch(nullptr, "KERNEL32.dll", "GetProcAddress", reinterpret_cast<void*>(&FakeGetProcAddress));
    g_getProcAddress = patch.Original<decltype(g_getProcAddress)>();
    EXPECT_EQ(0u, COSType(false).Generation()) << "what a probe would find now";
    EXPECT_EQ(real, COSType::GetOSGeneration());
}

} // namespace
