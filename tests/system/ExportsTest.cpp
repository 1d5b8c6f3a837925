// What FcoeAgnt.dll exports: hosts and siblings of the suite link against exactly these.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"

namespace {

// Mangled names as the compiler makes them; the comments tell what they are.
std::set<std::string> ExportsOf(HMODULE module) {
    auto* base = reinterpret_cast<BYTE*>(module);
    auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    auto* directory = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    auto* names = reinterpret_cast<DWORD*>(base + directory->AddressOfNames);
    std::set<std::string> exports;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i)
        exports.insert(reinterpret_cast<char*>(base + names[i]));
    return exports;
}

// The class that a mangled name belongs to; the name itself for a C export.
std::string Owner(const std::string& name) {
    for (const char* owner :
         {"CQelFcoeAgentIntf", "CQelString", "CQelDebug", "CQelRegKey", "CQelNetCfgComponent", "CQelNetCfgInterface"})
        if (name.find(std::to_string(std::string(owner).size()) + owner) != std::string::npos &&
            (name.starts_with("_ZN") || name.starts_with("_ZT")))
            return owner;
    return name;
}

TEST(Exports, AreTheAgentAndTheCommonClassesAndNothingElse) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    std::set<std::string> owners;
    for (const auto& name : ExportsOf(host.Module()))
        owners.insert(Owner(name));
    const std::set<std::string> expected{"GetFcoeAgent", "CQelFcoeAgentIntf",   "CQelString",         "CQelDebug",
                                         "CQelRegKey",   "CQelNetCfgComponent", "CQelNetCfgInterface"};
    EXPECT_EQ(expected, owners);
}

TEST(Exports, HoldTheOrdinaryMembersOfTheInterface) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    const auto exports = ExportsOf(host.Module());
    for (const char* name : {"_ZN17CQelFcoeAgentIntfC1Ev", "_ZN17CQelFcoeAgentIntfC2ERKS_",
                             "_ZN17CQelFcoeAgentIntfD1Ev", "_ZN17CQelFcoeAgentIntfaSERKS_"})
        EXPECT_TRUE(exports.contains(name)) << name;
}

TEST(Exports, HoldTheStringsLocalHalfOnly) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    const auto exports = ExportsOf(host.Module());
    for (const char* name : {"_ZN10CQelStringC1Ev", "_ZN10CQelStringC1ERKl", "_ZN10CQelStringC1ERKS_",
                             "_ZN10CQelStringD1Ev", "_ZN10CQelStringaSEl", "_ZN10CQelStringaSERKS_",
                             "_ZN10CQelStringaSEPKw", "_ZNK10CQelStringcvPKwEv", "_ZN10CQelString11ClearStringEv",
                             "_ZNK10CQelString4CopyEv", "_ZNK10CQelString7IsEmptyEv", "_ZNK10CQelString6LengthEv"})
        EXPECT_TRUE(exports.contains(name)) << name;
    for (const auto& name : exports) {
        EXPECT_EQ(std::string::npos, name.find("FormatString")) << name;
        EXPECT_EQ(std::string::npos, name.find("LoadCommonResString")) << name;
    }
}

TEST(Exports, OfTheCommonLibraryAreItsHalfOfTheString) {
    SuiteHost host;
    ASSERT_TRUE(host.GetAgent());
    const auto exports = ExportsOf(GetModuleHandleW(L"QelColib.dll"));
    for (const char* part : {"FormatString", "QelWideCharToMultiByte", "QelMultiByteToWideChar", "CompareI",
                             "MakeLower", "MakeUpper", "Split", "LoadCommonResString"}) {
        bool found = false;
        for (const auto& name : exports)
            found |= name.find(part) != std::string::npos;
        EXPECT_TRUE(found) << part;
    }
}

} // namespace
