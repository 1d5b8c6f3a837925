// What FcoeAgnt.dll exports: hosts and siblings of the suite link against exactly these.
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <cxxabi.h>
#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"

namespace {

// The declaration that a name of the compiler's stands for; the name itself for a C export.
std::string Declaration(const char* name) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                           std::free);
    return status == 0 ? text.get() : name;
}

std::set<std::string> ExportsOf(HMODULE module) {
    auto* base = reinterpret_cast<BYTE*>(module);
    auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    auto* directory = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    auto* names = reinterpret_cast<DWORD*>(base + directory->AddressOfNames);
    std::set<std::string> exports;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i)
        exports.insert(Declaration(reinterpret_cast<char*>(base + names[i])));
    return exports;
}

// The class that a declaration belongs to; the declaration itself when it belongs to none.
std::string Owner(const std::string& declaration) {
    for (const char* table : {"vtable for ", "typeinfo for ", "typeinfo name for "})
        if (declaration.starts_with(table))
            return declaration.substr(std::string(table).size());
    return declaration.substr(0, declaration.find("::"));
}

class Exports : public testing::Test {
  protected:
    Exports() {
        EXPECT_TRUE(host.GetAgent());
        exports = ExportsOf(host.Module());
    }
    void ExpectMembers(const std::string& owner, const std::vector<std::string>& members) {
        for (const std::string& member : members)
            EXPECT_TRUE(exports.contains(owner + "::" + member)) << owner << "::" << member;
    }
    void ExpectVirtualTable(const std::string& owner) { EXPECT_TRUE(exports.contains("vtable for " + owner)) << owner; }

    SuiteHost host;
    std::set<std::string> exports;
};

TEST_F(Exports, AreTheAgentAndTheCommonClassesAndNothingElse) {
    std::set<std::string> owners;
    for (const auto& name : exports)
        owners.insert(Owner(name));
    const std::set<std::string> expected{"GetFcoeAgent", "CQelFcoeAgentIntf",   "CQelString",         "CQelDebug",
                                         "CQelRegKey",   "CQelNetCfgComponent", "CQelNetCfgInterface"};
    EXPECT_EQ(expected, owners);
}

TEST_F(Exports, HoldTheOrdinaryMembersOfTheInterface) {
    ExpectMembers("CQelFcoeAgentIntf", {"CQelFcoeAgentIntf()", "CQelFcoeAgentIntf(CQelFcoeAgentIntf const&)",
                                        "~CQelFcoeAgentIntf()", "operator=(CQelFcoeAgentIntf const&)"});
}

TEST_F(Exports, HoldTheStringsLocalHalfOnly) {
    ExpectMembers("CQelString", {"CQelString()", "CQelString(long const&)", "CQelString(CQelString const&)",
                                 "~CQelString()", "operator=(long)", "operator=(CQelString const&)",
                                 "operator=(wchar_t const*)", "operator wchar_t const*() const", "ClearString()",
                                 "Copy() const", "IsEmpty() const", "Length() const"});
    for (const auto& name : exports) {
        EXPECT_EQ(std::string::npos, name.find("FormatString")) << name;
        EXPECT_EQ(std::string::npos, name.find("LoadCommonResString")) << name;
    }
}

TEST_F(Exports, HoldEachMemberOfTheLog) {
    ExpectMembers("CQelDebug", {"CQelDebug()", "~CQelDebug()", "Instance()",
                                "Configure(wchar_t const*, wchar_t const*, unsigned long, int, unsigned long)",
                                "Print(wchar_t const*, ...)", "Error(wchar_t const*, int, wchar_t const*, ...)",
                                "IsPrinting() const"});
    ExpectVirtualTable("CQelDebug");
}

TEST_F(Exports, HoldEachMemberOfTheRegistryKey) {
    ExpectMembers("CQelRegKey", {"CQelRegKey()",
                                 "CQelRegKey(HKEY__*)",
                                 "CQelRegKey(CQelRegKey const&)",
                                 "~CQelRegKey()",
                                 "operator=(CQelRegKey const&)",
                                 "operator=(HKEY__*)",
                                 "Open(HKEY__*, CQelString const&, bool)",
                                 "Create(HKEY__*, CQelString const&, bool, bool)",
                                 "Close()",
                                 "GetHKey() const",
                                 "LastResult() const",
                                 "GetPath() const",
                                 "FlushKey()",
                                 "GetRegType(CQelString const&)",
                                 "ValueExists(CQelString const&)",
                                 "SubKeyExists(CQelString const&)",
                                 "GetValue(CQelString const&, unsigned long&)",
                                 "GetValue(CQelString const&, CQelString&)",
                                 "GetValue(CQelString const&, std::vector<CQelString, std::allocator<CQelString> >&)",
                                 "GetValue(CQelString const&, unsigned char*, unsigned long&)",
                                 "SetValue(CQelString const&, unsigned long)",
                                 "SetValue(CQelString const&, CQelString const&, bool)",
                                 "SetValue(CQelString const&, unsigned char const*, unsigned long)",
                                 "SetValue(CQelString const&, std::vector<CQelString, std::allocator<CQelString> >)",
                                 "DeleteValue(CQelString const&)",
                                 "DeleteSubKey(wchar_t const*)",
                                 "EnumSubKey(CQelString&)",
                                 "EnumValue(CQelString&)",
                                 "ResetEnumeration()",
                                 "AddValueToMultiString(CQelString const&, CQelString const&)",
                                 "RemoveValueFromMultiString(CQelString const&, CQelString const&)",
                                 "IsValueInMultiString(CQelString const&, CQelString const&)",
                                 "IsSubStringValueInMultiString(CQelString const&, CQelString const&, CQelString&)"});
    ExpectVirtualTable("CQelRegKey");
}

TEST_F(Exports, HoldEachMemberOfTheNetworkConfigurationsRecords) {
    for (const std::string record : {"CQelNetCfgComponent", "CQelNetCfgInterface"})
        ExpectMembers(record, {record + "()", record + "(" + record + " const&)", "operator=(" + record + " const&)"});
}

TEST_F(Exports, OfTheCommonLibraryAreItsHalfOfTheString) {
    const auto common = ExportsOf(GetModuleHandleW(L"QelColib.dll"));
    for (const char* part : {"FormatString", "QelWideCharToMultiByte", "QelMultiByteToWideChar", "CompareI",
                             "MakeLower", "MakeUpper", "Split", "LoadCommonResString"}) {
        bool found = false;
        for (const auto& name : common)
            found |= name.find(part) != std::string::npos;
        EXPECT_TRUE(found) << part;
    }
}

} // namespace
