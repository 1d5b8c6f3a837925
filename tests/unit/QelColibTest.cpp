// The common resource strings of QelColib.dll.
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "FcoeAgent/QelResource.h"
#include "FcoeAgent/QelString.h"

namespace {

CQelString Load(UINT id) {
    CQelString text(L"before");
    const int length = text.LoadCommonResString(id);
    EXPECT_EQ(static_cast<int>(text.size()), length) << id;
    return text;
}

HMODULE Colib() {
    return GetModuleHandleW(L"QelColib.dll");
}

constexpr UINT STATISTICS[] = {1127, 1128, 1129, 1130, 1131, 1132, 1133, 1134,
                               1135, 1136, 1137, 1138, 1139, 1140, 1141};
constexpr UINT LINK_STATES[] = {1166, 1167, 1169, 1170, 1171, 1172, 1173, 1174, 1175, 1176, 1177, 1178, 1179};

TEST(CommonResources, HaveTheSuitesTexts) {
    const std::map<UINT, const wchar_t*> texts = {
        {1112, L"%02X:%02X:%02X:%02X:%02X:%02X:%02X:%02X"},
        {1113, L"2 Gbps"},
        {1117, L"1 Gbps"},
        {1122, L"4 Gbps"},
        {1123, L"10 Gbps"},
        {1124, L"PCI bus %d, device %d, function %d"},
        {1142, L"Fabric %d"},
        {1143, L"Virtual Fabric %d"},
        {1144, L"FCoE HBA"},
        {1145, L"VLAN %d"},
        {1146, L"Active"},
        {1147, L"Inactive"},
        {1148, L"%I64d MB"},
        {1149, L"%I64d GB"},
        {1150, L"%I64d TB"},
        {1151, L"%I64d bytes"},
        {1152, L"Unknown"},
        {1153, L"Auto"},
        {1154, L"Physical"},
        {1155, L"Virtual"},
        {1156, L"Physical port"},
        {1157, L"Virtual port"},
        {2020, L"Unknown"},
    };
    for (const auto& [id, text] : texts)
        EXPECT_EQ(text, Load(id)) << id;
}

TEST(CommonResources, NameEveryCounterDifferently) {
    std::set<std::wstring> texts;
    for (UINT id : STATISTICS) {
        EXPECT_LT(0u, Load(id).Length()) << id;
        texts.insert(Load(id));
    }
    EXPECT_EQ(std::size(STATISTICS), texts.size());
}

TEST(CommonResources, NameEveryLinkStateDifferently) {
    std::set<std::wstring> texts;
    for (UINT id : LINK_STATES) {
        EXPECT_LT(0u, Load(id).Length()) << id;
        texts.insert(Load(id));
    }
    EXPECT_EQ(std::size(LINK_STATES), texts.size());
}

TEST(CommonResources, NumbersAreNamedInOneHeader) {
    EXPECT_EQ(STATISTICS[0], static_cast<UINT>(IDS_QEL_STAT_TX_FRAMES));
    EXPECT_EQ(STATISTICS[14], static_cast<UINT>(IDS_QEL_STAT_LINK_FAILURE));
    EXPECT_EQ(L"Link up", Load(IDS_QEL_LINK_UP));
    EXPECT_EQ(L"Unknown", Load(IDS_QEL_SPEED_UNKNOWN));
}

TEST(CommonResources, MissingNumberEmptiesTheText) {
    for (UINT id : {0u, 1u, 1111u, 1168u, 1180u, 2021u, 70000u}) {
        CQelString text(L"before");
        EXPECT_EQ(0, text.LoadCommonResString(id)) << id;
        EXPECT_EQ(L"", text) << id;
    }
}

TEST(CommonResources, AreFoundBySystemFunctions) {
    wchar_t buffer[64] = {};
    EXPECT_EQ(8, LoadStringW(Colib(), 1144, buffer, 64));
    EXPECT_STREQ(L"FCoE HBA", buffer);
}

TEST(CommonResources, LieInTheCommonLibraryNotInTheProgram) {
    wchar_t buffer[64] = {};
    EXPECT_EQ(0, LoadStringW(GetModuleHandleW(nullptr), 1144, buffer, 64));
    EXPECT_EQ(L"FCoE HBA", Load(1144));
}

TEST(CommonResources, LoadingKeepsNoReferenceToTheLibrary) {
    // A library that a program imports is pinned; a copy of it can be counted.
    wchar_t path[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameW(Colib(), path, MAX_PATH));
    wchar_t temp[MAX_PATH], copy[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    ASSERT_NE(0u, GetTempFileNameW(temp, L"qel", 0, copy));
    ASSERT_TRUE(CopyFileW(path, copy, FALSE));
    const HMODULE module = LoadLibraryW(copy);
    ASSERT_TRUE(module);
    using PFN_Load = int (*)(CQelString*, UINT);
    const auto load = reinterpret_cast<PFN_Load>(
        reinterpret_cast<void*>(GetProcAddress(module, "_ZN10CQelString19LoadCommonResStringEj")));
    ASSERT_TRUE(load);
    CQelString text;
    EXPECT_EQ(8, load(&text, 1144));
    EXPECT_EQ(L"FCoE HBA", text);
    FreeLibrary(module);
    EXPECT_FALSE(GetModuleHandleW(copy));
    EXPECT_TRUE(DeleteFileW(copy));
}

TEST(CommonLibrary, CarriesAVersion) {
    wchar_t path[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameW(Colib(), path, MAX_PATH));
    const HRSRC resource = FindResourceW(Colib(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16)); // RT_VERSION
    ASSERT_TRUE(resource);
    const auto* words = static_cast<const WORD*>(LockResource(LoadResource(Colib(), resource)));
    const std::wstring text(reinterpret_cast<const wchar_t*>(words),
                            SizeofResource(Colib(), resource) / sizeof(wchar_t));
    EXPECT_NE(std::wstring::npos, text.find(L"VS_VERSION_INFO"));
    EXPECT_NE(std::wstring::npos, text.find(L"QelColib.dll"));
}

} // namespace
