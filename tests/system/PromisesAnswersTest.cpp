// What TRUE and FALSE mean to a host, and what reaches it as an exception: docs/host-guide.md.
#include <algorithm>
#include <cwchar>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <psapi.h>

#include "tests/kit/ProgramFolder.h"
#include "tests/system/PromiseSuite.h"
#include "tools/fcoectl/Text.h"

namespace {

using testing::SizeIs;

constexpr wchar_t AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
constexpr wchar_t ALL[] = L"";

constexpr auto HBAS = &CQelFcoeAgentIntf::EnumerateHBAs;
constexpr auto FABRICS = &CQelFcoeAgentIntf::EnumerateFabrics;
constexpr auto PORTS = &CQelFcoeAgentIntf::EnumeratePorts;
constexpr auto TARGETS = &CQelFcoeAgentIntf::EnumerateTargets;
constexpr auto LUNS = &CQelFcoeAgentIntf::EnumerateLUNs;
constexpr auto VLANS = &CQelFcoeAgentIntf::EnumerateVLANs;
constexpr auto STATISTICS = &CQelFcoeAgentIntf::EnumerateStatistics;

// The first adapter's function does that.
std::string FaultOfTheFirst(const std::string& function, const std::string& what) {
    return R"({"function": ")" + function + R"(", "adapter": "{11111111-2222-4333-8444-555555555501}", )" + what + "}";
}
std::string Refused(const std::string& function) {
    return TwoAdapters(FaultOfTheFirst(function, R"("status": 1)"));
}

// How many records all adapters give of each kind, with TRUE.
struct Counts {
    std::size_t hbas, fabrics, ports, targets, luns, vlans, statistics;
    bool operator==(const Counts&) const = default;

    friend void PrintTo(const Counts& counts, std::ostream* out) {
        *out << counts.hbas << " hbas, " << counts.fabrics << " fabrics, " << counts.ports << " ports, "
             << counts.targets << " targets, " << counts.luns << " luns, " << counts.vlans << " vlans, "
             << counts.statistics << " statistics";
    }
};
Counts CountAll(PromiseSuite& suite) {
    return {suite.Count(HBAS, ALL), suite.Count(FABRICS, ALL), suite.Count(PORTS, ALL),     suite.Count(TARGETS, ALL),
            suite.Count(LUNS, ALL), suite.Count(VLANS, ALL),   suite.Count(STATISTICS, ALL)};
}

TEST(PromiseAnswers, OfTwoHealthyAdapters) {
    PromiseSuite suite;
    EXPECT_EQ((Counts{2, 2, 2, 2, 2, 4, 30}), CountAll(suite));
}

// TRUE each time: CountAll looks at it.
TEST(PromiseAnswers, WhatTheLibraryRefusesIsMissingWithoutAWord) {
    const struct {
        const char* function;
        Counts left;
    } rows[] = {
        {"ORVAN_GetFCoEControllerInfo", {2, 1, 1, 1, 1, 2, 15}},
        {"ORVAN_GetFCoEControllerHandle", {2, 1, 1, 1, 1, 2, 15}},
        {"ORVAN_GetFCPortList", {2, 1, 1, 1, 1, 4, 30}},
        {"ORVAN_GetTargetList", {2, 2, 2, 1, 1, 4, 30}},
        {"GetFcpTargetMapping", {2, 2, 2, 2, 1, 4, 30}},
        {"ORVAN_GetVlanIdList", {2, 2, 2, 2, 2, 2, 30}},
        {"GetPortStatistics", {2, 2, 2, 2, 2, 4, 15}},
        {"GetAdapterPortAttributes", {2, 2, 2, 2, 2, 4, 30}},
        {"ScsiInquiry", {2, 2, 2, 2, 2, 4, 30}},
        {"ScsiReadCapacityV2", {2, 2, 2, 2, 2, 4, 30}},
    };
    for (const auto& row : rows) {
        PromiseSuite suite(Refused(row.function));
        EXPECT_EQ(row.left, CountAll(suite)) << row.function;
    }
}

HMODULE WINAPI LoadNoLibrary(const wchar_t* name) {
    if (std::wstring(name) != L"orvanhapi.dll")
        return LoadLibraryW(name);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

TEST(PromiseAnswers, WithoutTheVendorLibraryAreTrueToo) {
    PromiseSuite suite;
    EXPECT_TRUE(suite.agent->Uninstall(0));
    const ImportPatch patch(suite.host.Module(), "KERNEL32.dll", "LoadLibraryW",
                            reinterpret_cast<void*>(&LoadNoLibrary));
    ASSERT_EQ(suite.agent, suite.host.GetAgent());
    EXPECT_TRUE(suite.host.Logged("LoadLibrary of orvanhapi.dll failed - 126"));
    EXPECT_EQ((Counts{2, 0, 0, 0, 0, 0, 30}), CountAll(suite));
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(HBAS, FIRST, hbas));
    ASSERT_THAT(hbas, SizeIs(1));
    EXPECT_STREQ(FIRST, hbas[0].strDeviceId);
    EXPECT_STREQ(L"00:00:00:00:00:00:00:00", hbas[0].strPortWWN);
    EXPECT_STREQ(L"Port not online", hbas[0].strFcoeLinkStatus);
    std::vector<QEL_FCOE_STATISTIC> statistics;
    EXPECT_TRUE(suite.Ask(STATISTICS, FIRST, statistics));
    for (const auto& counter : statistics)
        EXPECT_EQ(0, counter.llValue);
    CQelString adapter(FIRST);
    EXPECT_TRUE(suite.agent->RefreshTargets(adapter, 0));
    EXPECT_FALSE(suite.Create(L"Auto"));
    EXPECT_FALSE(suite.Create(L"20:02:00:1b:21:00:00:0a"));
    ASSERT_THAT(suite.errors, SizeIs(2));
    EXPECT_EQ(0x370000CAu, suite.errors[0].ulCode);
    EXPECT_EQ(0x370000CEu, suite.errors[1].ulCode);
}

TEST(PromiseAnswers, OfAnUnknownIdentifierAreTrueWithNothingOrAnEmptyRecord) {
    PromiseSuite suite;
    const wchar_t unknown[] = L"{99999999-9999-4999-8999-999999999999}";
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(HBAS, unknown, hbas));
    ASSERT_THAT(hbas, SizeIs(1));
    EXPECT_TRUE(hbas[0].strDeviceId.empty());
    EXPECT_EQ(0u, suite.Count(PORTS, unknown));
    EXPECT_EQ(0u, suite.Count(LUNS, unknown));
    EXPECT_EQ(0u, suite.Count(VLANS, unknown));
    EXPECT_EQ(0u, suite.Count(STATISTICS, unknown));
    CQelString adapter(unknown), wwpn(L"Auto");
    ULONG owner = 5;
    EXPECT_FALSE(suite.agent->CreateVPort(adapter, wwpn, suite.errors, owner));
    ASSERT_THAT(suite.errors, SizeIs(1));
    EXPECT_EQ(0x370000CAu, suite.errors[0].ulCode);
}

TEST(PromiseAnswers, AreFalseWhenTheLibraryThrowsAndTheOtherAdaptersAreThere) {
    PromiseSuite suite(TwoAdapters(FaultOfTheFirst("ORVAN_GetVlanIdList", R"("throw": true)")));
    std::vector<QEL_FCOE_VLAN> vlans;
    EXPECT_FALSE(suite.Ask(VLANS, ALL, vlans));
    ASSERT_THAT(vlans, SizeIs(2));
    EXPECT_STREQ(SECOND, vlans[0].strDeviceId);
    EXPECT_TRUE(suite.host.Logged("Unable to get the fabrics for {11111111-2222-4333-8444-555555555501}"));
}

TEST(PromiseAnswers, OfARefusedInquiryHaveEmptyTextsAndOfARefusedCapacityUnknown) {
    PromiseSuite suite(TwoAdapters(FaultOfTheFirst("ScsiInquiry", R"("status": 1)") + ", " +
                                   FaultOfTheFirst("ScsiReadCapacityV2", R"("status": 1)")));
    std::vector<QEL_FCOE_TARGET> targets;
    EXPECT_TRUE(suite.Ask(TARGETS, FIRST, targets));
    ASSERT_THAT(targets, SizeIs(1));
    EXPECT_TRUE(targets[0].strVendor.empty());
    std::vector<QEL_FCOE_LUN> luns;
    EXPECT_TRUE(suite.Ask(LUNS, FIRST, luns));
    ASSERT_THAT(luns, SizeIs(1));
    EXPECT_STREQ(L"Unknown", luns[0].strCapacity);
    EXPECT_STREQ(L"Unknown", luns[0].strBlockSize);
}

TEST(PromiseAnswers, OfALibraryWithoutInquiryHaveEmptyTexts) {
    PromiseSuite suite(TwoAdapters(R"({"function": "ScsiInquiry", "missing": true})"));
    std::vector<QEL_FCOE_TARGET> targets;
    EXPECT_TRUE(suite.Ask(TARGETS, FIRST, targets));
    ASSERT_THAT(targets, SizeIs(1));
    EXPECT_EQ(std::wstring(), std::wstring(targets[0].strVendor));
    EXPECT_TRUE(targets[0].strSerial.empty());
}

TEST(PromiseAnswers, OfAThrowingChangeAreFalseWithoutAnEntry) {
    PromiseSuite suite(TwoAdapters(R"({"function": "ORVAN_CreateVPort", "throw": true})"));
    EXPECT_FALSE(suite.Create(L"20:02:00:1b:21:00:00:0a"));
    EXPECT_TRUE(suite.errors.empty());
    EXPECT_FALSE(suite.Create(L"no name"));
    EXPECT_THAT(suite.errors, SizeIs(1));
}

TEST(PromiseStart, AnyLoadedModuleWillDoInTheRegistry) {
    SuiteHost host;
    host.Library();
    host.Hive().Set(AGENT_KEY, L"InstalledDir", (ProgramFolder() / L"orvanhapi.dll").wstring());
    EXPECT_TRUE(host.GetAgent());
}

TEST(PromiseStart, AnAgentThatHasStartedNeedsTheRegistryNoMore) {
    SuiteHost host;
    auto* const agent = host.GetAgent();
    ASSERT_TRUE(agent);
    host.Hive().Delete(AGENT_KEY, L"InstalledDir");
    EXPECT_EQ(agent, host.GetAgent());
    EXPECT_TRUE(agent->Uninstall(0));
    EXPECT_FALSE(host.GetAgent());
}

// Windows compares the names of the loaded modules, in any letter case, and not files: whole names with a name that has
// a path, else what stands behind the path.
HMODULE WINAPI FindByName(const wchar_t* name) {
    HMODULE modules[256] = {};
    DWORD size = 0;
    if (!K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size))
        return nullptr;
    for (const HMODULE module : modules) {
        wchar_t loaded[MAX_PATH];
        if (!module || GetModuleFileNameW(module, loaded, MAX_PATH) == 0)
            continue;
        if (_wcsicmp(name, std::wcschr(name, L'\\') ? loaded : std::wcsrchr(loaded, L'\\') + 1) == 0)
            return module;
    }
    return nullptr;
}

TEST(PromiseStart, AnotherSpellingOfThePathIsAnotherFileToWindows) {
    SuiteHost host;
    auto* const agent = host.GetAgent();
    ASSERT_TRUE(agent);
    const ImportPatch patch(host.Module(), "KERNEL32.dll", "GetModuleHandleW", reinterpret_cast<void*>(&FindByName));
    const std::wstring path = (ProgramFolder() / L"FcoeAgnt.dll").wstring();
    std::wstring upper = path, slashes = path;
    CharUpperW(upper.data());
    std::ranges::replace(slashes, L'\\', L'/');
    const struct {
        std::wstring text;
        bool serves;
    } rows[] = {
        {path, true},
        {upper, true},
        {L"FcoeAgnt.dll", true},
        {(ProgramFolder() / L"." / L"FcoeAgnt.dll").wstring(), false},
        {slashes, false},
        {L"\\\\?\\" + path, false},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(agent->Uninstall(0));
        host.Hive().Set(AGENT_KEY, L"InstalledDir", row.text);
        EXPECT_EQ(row.serves ? agent : nullptr, host.GetAgent()) << fcoectl::ToUtf8(row.text);
    }
}

using Handler = void(__cdecl*)(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t);

TEST(PromiseStart, TheInvalidParameterHandlerIsTheAgentsUntilItIsUnloaded) {
    const HMODULE runTime = LoadLibraryW(L"ucrtbase.dll");
    const auto get = reinterpret_cast<Handler (*)()>(
        reinterpret_cast<void*>(GetProcAddress(runTime, "_get_invalid_parameter_handler")));
    const auto set = reinterpret_cast<Handler (*)(Handler)>(
        reinterpret_cast<void*>(GetProcAddress(runTime, "_set_invalid_parameter_handler")));
    ASSERT_TRUE(get && set);
    const Handler hosts = [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {};
    const Handler previous = set(hosts);
    {
        SuiteHost host;
        ASSERT_TRUE(host.GetAgent());
        EXPECT_NE(hosts, get());
        host.Unload();
        EXPECT_EQ(hosts, get());
        host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", DWORD{0});
        ASSERT_TRUE(host.GetAgent());
        EXPECT_EQ(hosts, get());
    }
    set(previous);
    FreeLibrary(runTime);
}

// std::bad_alloc passes whoever throws it.
TEST(PromiseExceptions, MemoryExhaustionOfTheLibraryReachesTheHost) {
    PromiseSuite suite;
    ExportHooks hooks(suite.host.Module());
    bool throwing = true;
    const ExportHook<decltype(ORVAN_GetVlanIdList)> vlans(hooks, "ORVAN_GetVlanIdList",
                                                          [&](auto* library, HBA_HANDLE handle, ORVAN_VLAN_LIST* list) {
                                                              if (throwing)
                                                                  throw std::bad_alloc();
                                                              return library(handle, list);
                                                          });
    const ExportHook<decltype(ORVAN_GeneratePortWWN)> names(
        hooks, "ORVAN_GeneratePortWWN", [](auto*, HBA_HANDLE, HBA_WWN*) -> HBA_STATUS { throw std::bad_alloc(); });
    std::vector<QEL_FCOE_VLAN> list;
    EXPECT_THROW(suite.Ask(VLANS, ALL, list), std::bad_alloc);
    EXPECT_THROW(suite.Create(L"Auto"), std::bad_alloc);
    throwing = false;
    EXPECT_EQ(4u, suite.Count(VLANS, ALL));
    EXPECT_TRUE(suite.Create(L"20:02:00:1b:21:00:00:0a")); // nothing stayed locked
}

TEST(PromiseExceptions, MemoryExhaustionOfTheLibraryReachesTheHostFromGetFcoeAgentToo) {
    PromiseSuite suite;
    EXPECT_TRUE(suite.agent->Uninstall(0));
    ExportHooks hooks(suite.host.Module());
    bool throwing = true;
    const ExportHook<decltype(ORVAN_InitializeLibrary)> hook(hooks, "ORVAN_InitializeLibrary",
                                                             [&](auto* library) -> HBA_STATUS {
                                                                 if (throwing)
                                                                     throw std::bad_alloc();
                                                                 return library();
                                                             });
    EXPECT_THROW(suite.host.GetAgent(), std::bad_alloc);
    throwing = false;
    EXPECT_EQ(suite.agent, suite.host.GetAgent());
    EXPECT_EQ(4u, suite.Count(VLANS, ALL));
}

TEST(PromiseExceptions, OfAnyOtherKindAreLogged) {
    PromiseSuite suite(TwoAdapters(R"({"function": "ORVAN_InitializeLibrary", "throw": true})"));
    EXPECT_TRUE(suite.agent);
    bool logged = false;
    for (const auto& line : suite.host.LogMessages())
        logged = logged || line.ends_with("): CQelFcoeAgentWin::Initialize() - Exception caught");
    EXPECT_TRUE(logged);
}

} // namespace
