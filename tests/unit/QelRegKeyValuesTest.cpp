// CQelRegKey: the values of a key.
#include "FcoeAgent/QelRegKey.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/kit/ImportPatch.h"
#include "tests/unit/QelRegKeyFixture.h"

namespace {

using QelRegKeyValues = QelRegKeyFixture;

TEST_F(QelRegKeyValues, TellsTypes) {
    const BYTE byte = 1;
    m_key.SetValue(L"number", 1ul);
    m_key.SetValue(L"text", CQelString(L"text"));
    m_key.SetValue(L"path", CQelString(L"%TEMP%"), true);
    m_key.SetValue(L"bytes", &byte, 1);
    m_key.SetValue(L"list", Texts{L"a"});
    EXPECT_EQ(static_cast<DWORD>(REG_DWORD), m_key.GetRegType(L"number"));
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), m_key.GetRegType(L"text"));
    EXPECT_EQ(static_cast<DWORD>(REG_EXPAND_SZ), m_key.GetRegType(L"path"));
    EXPECT_EQ(static_cast<DWORD>(REG_BINARY), m_key.GetRegType(L"bytes"));
    EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), m_key.GetRegType(L"list"));
    EXPECT_EQ(0u, m_key.GetRegType(L"missing"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
}

TEST_F(QelRegKeyValues, TypeOfAClosedKeyResetsTheResult) {
    CQelRegKey key;
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"Software\\Missing", false));
    EXPECT_EQ(0u, key.GetRegType(L"v"));
    EXPECT_EQ(0, key.LastResult());
}

TEST_F(QelRegKeyValues, ReadsANumber) {
    ULONG number = 0;
    EXPECT_TRUE(m_key.SetValue(L"v", 0xFEDCBA98ul));
    EXPECT_TRUE(m_key.GetValue(L"v", number));
    EXPECT_EQ(0xFEDCBA98u, number);
    EXPECT_EQ((std::vector<std::string>{"CQelRegKey::GetValue m_bIsOpened = true", "CQelRegKey::GetValue :0"}),
              m_log.Lines());
}

TEST_F(QelRegKeyValues, MissingNumberIsLoggedAndLeavesTheOutput) {
    ULONG number = 5;
    EXPECT_FALSE(m_key.GetValue(L"missing", number));
    EXPECT_EQ(5u, number);
    EXPECT_EQ((std::vector<std::string>{"CQelRegKey::GetValue m_bIsOpened = true", "CQelRegKey::GetValue :2"}),
              m_log.Lines());
}

LSTATUS(WINAPI* g_query)(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD);
LSTATUS WINAPI QueryAsNtDoes(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
    const LSTATUS result = g_query(key, name, reserved, type, data, size);
    if (type && result != ERROR_SUCCESS && result != ERROR_MORE_DATA)
        *type = 0x77; // of a value that is not there
    return result;
}

TEST_F(QelRegKeyValues, TypeThatTheSystemMakesOfAMissingNumberDoesNotCount) {
    const ImportPatch patch(nullptr, "ADVAPI32.dll", "RegQueryValueExW", reinterpret_cast<void*>(&QueryAsNtDoes));
    g_query = patch.Original<decltype(g_query)>();
    ULONG number = 5;
    EXPECT_FALSE(m_key.GetValue(L"missing", number));
    EXPECT_EQ(5u, number);
    EXPECT_EQ((std::vector<std::string>{"CQelRegKey::GetValue m_bIsOpened = true", "CQelRegKey::GetValue :2"}),
              m_log.Lines());
    EXPECT_EQ(0u, m_key.GetRegType(L"missing"));
}

TEST_F(QelRegKeyValues, NumberOfAnotherTypeIsRefused) {
    ULONG number = 5;
    const BYTE bytes[4] = {1, 2, 3, 4};
    m_key.SetValue(L"v", bytes, 4);
    EXPECT_FALSE(m_key.GetValue(L"v", number));
    EXPECT_EQ(5u, number);
    EXPECT_EQ((std::vector<std::string>{"CQelRegKey::GetValue m_bIsOpened = true", "CQelRegKey::GetValue :0",
                                        "CQelRegKey::GetValue dwRegType != REG_DWORD "}),
              m_log.Lines());
    m_log.Clear();
    m_key.SetValue(L"v", CQelString(L"a long text"));
    EXPECT_FALSE(m_key.GetValue(L"v", number));
    EXPECT_EQ(5u, number);
    EXPECT_EQ(ERROR_MORE_DATA, m_key.LastResult());
    EXPECT_EQ((std::vector<std::string>{"CQelRegKey::GetValue m_bIsOpened = true", "CQelRegKey::GetValue :234",
                                        "CQelRegKey::GetValue dwRegType != REG_DWORD "}),
              m_log.Lines());
}

TEST_F(QelRegKeyValues, ReadsTextsOfUpTo255Characters) {
    CQelString text;
    m_key.SetValue(L"v", CQelString(std::wstring(255, L'x').c_str()));
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(std::wstring(255, L'x'), text);
}

TEST_F(QelRegKeyValues, TextOf256CharactersCannotBeRead) {
    CQelString text(L"before");
    m_key.SetValue(L"v", CQelString(std::wstring(256, L'x').c_str()));
    EXPECT_FALSE(m_key.GetValue(L"v", text));
    EXPECT_EQ(ERROR_MORE_DATA, m_key.LastResult());
    EXPECT_EQ(L"", text);
}

TEST_F(QelRegKeyValues, TextEndsAtItsFirstTerminator) {
    CQelString text;
    m_hive.SetRaw(PATH, L"v", REG_SZ, L"one\0two", 14);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"one", text);
    m_hive.SetRaw(PATH, L"v", REG_SZ, L"unterminated", 24);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"unterminated", text);
    m_hive.SetRaw(PATH, L"v", REG_SZ, L"", 0);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"", text);
}

TEST_F(QelRegKeyValues, TextsOfAnyTypeAreRead) {
    CQelString text;
    m_hive.SetRaw(PATH, L"v", REG_BINARY, L"bytes", 12);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"bytes", text);
    m_key.SetValue(L"v", CQelString(L"%TEMP%"), true);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"%TEMP%", text) << "not expanded";
    m_key.SetValue(L"v", 0x41ul);
    EXPECT_TRUE(m_key.GetValue(L"v", text));
    EXPECT_EQ(L"A", text);
}

TEST_F(QelRegKeyValues, MissingTextEmptiesTheOutput) {
    CQelString text(L"before");
    EXPECT_FALSE(m_key.GetValue(L"missing", text));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
    EXPECT_EQ(L"", text);
}

TEST_F(QelRegKeyValues, ReadsListsAsTheyAreStored) {
    const struct {
        const char* name;
        std::wstring stored;
        DWORD size;
        Texts texts;
    } rows[] = {
        {"ordinary", std::wstring(L"a\0bc\0\0", 6), 12, {L"a", L"bc"}},
        {"nothing", L"", 0, {}},
        {"final terminator only", std::wstring(L"\0", 1), 2, {}},
        {"without the final terminator", std::wstring(L"a\0bc\0", 5), 10, {L"a", L"bc"}},
        {"without any terminator", L"abc", 6, {L"abc"}},
        {"stops at the first empty text", std::wstring(L"a\0\0b\0\0", 6), 12, {L"a"}},
        {"odd size", std::wstring(L"a\0b", 3), 5, {L"a", L"b"}},
    };
    for (const auto& row : rows) {
        m_hive.SetRaw(PATH, L"v", REG_MULTI_SZ, row.stored.data(), row.size);
        EXPECT_EQ(row.texts, List(L"v")) << row.name;
    }
}

TEST_F(QelRegKeyValues, ListsAreAppendedToTheOutput) {
    Texts texts{L"before"};
    m_key.SetValue(L"v", Texts{L"a"});
    EXPECT_TRUE(m_key.GetValue(L"v", texts));
    EXPECT_EQ((Texts{L"before", L"a"}), texts);
    EXPECT_FALSE(m_key.GetValue(L"missing", texts));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
    EXPECT_EQ(2u, texts.size());
}

TEST_F(QelRegKeyValues, ReadsLongLists) {
    const Texts texts(300, CQelString(std::wstring(300, L'x').c_str()));
    EXPECT_TRUE(m_key.SetValue(L"v", texts));
    EXPECT_EQ(texts, List(L"v"));
}

TEST_F(QelRegKeyValues, ReadsRawBytes) {
    const BYTE stored[] = {1, 2, 3, 4, 5};
    EXPECT_TRUE(m_key.SetValue(L"v", stored, 5));
    BYTE bytes[8] = {};
    ULONG size = sizeof bytes;
    EXPECT_TRUE(m_key.GetValue(L"v", bytes, size));
    EXPECT_EQ(5u, size);
    EXPECT_EQ(0, std::memcmp(stored, bytes, 5));
    size = 4;
    EXPECT_FALSE(m_key.GetValue(L"v", bytes, size));
    EXPECT_EQ(ERROR_MORE_DATA, m_key.LastResult());
    EXPECT_EQ(5u, size);
}

TEST_F(QelRegKeyValues, WritesTheTextsTerminator) {
    m_key.SetValue(L"v", CQelString(L"ab"));
    EXPECT_EQ((std::vector<BYTE>{'a', 0, 'b', 0, 0, 0}), Raw(L"v"));
    EXPECT_TRUE(m_key.SetValue(L"v", CQelString()));
    EXPECT_EQ((std::vector<BYTE>{0, 0}), Raw(L"v"));
}

TEST_F(QelRegKeyValues, WritesListsWithTheirTerminators) {
    EXPECT_TRUE(m_key.SetValue(L"v", Texts{L"a", L"bc"}));
    EXPECT_EQ((std::vector<BYTE>{'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}), Raw(L"v"));
    EXPECT_TRUE(m_key.SetValue(L"v", Texts{}));
    EXPECT_EQ((std::vector<BYTE>{0, 0}), Raw(L"v"));
}

TEST_F(QelRegKeyValues, ListWithoutMemoryIsLogged) {
    using PFN_Calloc = void*(__cdecl*)(size_t, size_t);
    static PFN_Calloc original;
    const PFN_Calloc fails = [](size_t count, size_t size) -> void* {
        return count * size == 4246 ? nullptr : original(count, size);
    };
    const ImportPatch patch(nullptr, "msvcrt.dll", "calloc", reinterpret_cast<void*>(fails));
    original = patch.Original<PFN_Calloc>();
    EXPECT_FALSE(m_key.SetValue(L"v", Texts{CQelString(std::wstring(2121, L'x').c_str())}));
    EXPECT_FALSE(m_key.ValueExists(L"v"));
    ASSERT_EQ(1u, m_log.Lines().size());
    EXPECT_TRUE(m_log.Lines()[0].starts_with("Common\\Src\\QelRegKey ("));
    EXPECT_TRUE(m_log.Lines()[0].ends_with("): ERROR:  Unable to allocate memory"));
}

TEST_F(QelRegKeyValues, DeletesValues) {
    m_key.SetValue(L"v", 1ul);
    EXPECT_TRUE(m_key.DeleteValue(L"v"));
    EXPECT_FALSE(m_key.ValueExists(L"v"));
    EXPECT_FALSE(m_key.DeleteValue(L"v"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
}

} // namespace
