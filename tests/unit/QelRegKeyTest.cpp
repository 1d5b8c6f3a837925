// CQelRegKey: opening, closing, subkeys and enumeration.
#include "FcoeAgent/QelRegKey.h"

#include <cwchar>
#include <string>
#include <utility>

#include "tests/kit/ImportPatch.h"
#include "tests/unit/QelRegKeyFixture.h"

namespace {

// A key that stays cannot lie below one that does not: creating the child fails.
constexpr wchar_t VOLATILE[] = L"Software\\Test\\Volatile";
constexpr wchar_t CHILD_OF_VOLATILE[] = L"Software\\Test\\Volatile\\Child";

class QelRegKey : public QelRegKeyFixture {
  protected:
    bool Exists(const wchar_t* path) {
        CQelRegKey key;
        return key.Open(HKEY_LOCAL_MACHINE, path, false);
    }
};

bool HandleWorks(HKEY key) {
    return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr) == ERROR_SUCCESS;
}

HKEY OpenHandle(const wchar_t* path) {
    HKEY key = nullptr;
    EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_ALL_ACCESS, &key));
    return key;
}

TEST_F(QelRegKey, StartsClosed) {
    CQelRegKey key;
    EXPECT_EQ(nullptr, key.GetHKey());
    EXPECT_EQ(0, key.LastResult());
    EXPECT_EQ(L"", key.GetPath());
}

TEST_F(QelRegKey, OpenOfAMissingKeyKeepsThePath) {
    CQelRegKey key;
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"Software\\Missing", false));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastResult());
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software\\Missing", key.GetPath());
    EXPECT_EQ(nullptr, key.GetHKey());
}

TEST_F(QelRegKey, PathNamesThePredefinedRoots) {
    const std::pair<HKEY, const wchar_t*> roots[] = {
        {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\"},
        {HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT\\"},
        {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\"},
        {HKEY_USERS, L"HKEY_USERS\\"},
        {HKEY_PERFORMANCE_DATA, L"HKEY_PERFORMANCE_DATA\\"},
        {HKEY_CURRENT_CONFIG, L"HKEY_CURRENT_CONFIG\\"},
        {HKEY_DYN_DATA, L"HKEY_DYN_DATA\\"},
    };
    for (const auto& [root, prefix] : roots) {
        CQelRegKey key;
        EXPECT_FALSE(key.Open(root, L"Missing\\Key", false));
        EXPECT_EQ(std::wstring(prefix) + L"Missing\\Key", key.GetPath());
    }
}

TEST_F(QelRegKey, PathStaysWithAnyOtherRoot) {
    CQelRegKey key;
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"Missing", false));
    m_hive.Set(L"Software\\Test\\Child", L"v", 1);
    EXPECT_TRUE(key.Open(m_key.GetHKey(), L"Child", false));
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Missing", key.GetPath());
}

TEST_F(QelRegKey, FailedCreateSetsNoPath) {
    CQelRegKey parent, key;
    ASSERT_TRUE(parent.Create(HKEY_LOCAL_MACHINE, VOLATILE, true, true));
    EXPECT_FALSE(key.Create(HKEY_LOCAL_MACHINE, CHILD_OF_VOLATILE, true, false));
    EXPECT_EQ(ERROR_CHILD_MUST_BE_VOLATILE, key.LastResult());
    EXPECT_EQ(L"", key.GetPath());
    EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, L"Software\\X\\Y", true, false));
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software\\X\\Y", key.GetPath());
    EXPECT_EQ(0, key.LastResult());
}

TEST_F(QelRegKey, CreateOpensAnExistingKey) {
    EXPECT_TRUE(m_key.SetValue(L"v", 5ul));
    CQelRegKey key;
    EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, PATH, false, false));
    EXPECT_TRUE(key.ValueExists(L"v"));
}

TEST_F(QelRegKey, AccessIsThatOfReadingOrWriting) {
    CQelRegKey key;
    EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    EXPECT_FALSE(key.SetValue(L"v", 1ul));
    EXPECT_EQ(ERROR_ACCESS_DENIED, key.LastResult());
    EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, true));
    EXPECT_TRUE(key.SetValue(L"v", 1ul));
}

struct Call {
    REGSAM access;
    DWORD options;
};
Call g_open, g_create;

TEST_F(QelRegKey, AsksForNoOtherRegistryView) {
    using PFN_Open = LSTATUS(WINAPI*)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY);
    using PFN_Create =
        LSTATUS(WINAPI*)(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, const LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD);
    const PFN_Open open = [](HKEY, LPCWSTR, DWORD options, REGSAM access, PHKEY) -> LSTATUS {
        g_open = {access, options};
        return ERROR_ACCESS_DENIED;
    };
    const PFN_Create create = [](HKEY, LPCWSTR, DWORD, LPWSTR, DWORD options, REGSAM access,
                                 const LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD) -> LSTATUS {
        g_create = {access, options};
        return ERROR_ACCESS_DENIED;
    };
    const ImportPatch openPatch(nullptr, "ADVAPI32.dll", "RegOpenKeyExW", reinterpret_cast<void*>(open));
    const ImportPatch createPatch(nullptr, "ADVAPI32.dll", "RegCreateKeyExW", reinterpret_cast<void*>(create));
    CQelRegKey key;
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    EXPECT_EQ(0x20019u, g_open.access);
    EXPECT_EQ(0u, g_open.options);
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, PATH, true));
    EXPECT_EQ(0x2001Fu, g_open.access);
    EXPECT_EQ(ERROR_ACCESS_DENIED, key.LastResult());

    EXPECT_FALSE(key.Create(HKEY_LOCAL_MACHINE, PATH, false, false));
    EXPECT_EQ(0x20019u, g_create.access);
    EXPECT_EQ(static_cast<DWORD>(REG_OPTION_NON_VOLATILE), g_create.options);
    EXPECT_FALSE(key.Create(HKEY_LOCAL_MACHINE, PATH, true, true));
    EXPECT_EQ(0x2001Fu, g_create.access);
    EXPECT_EQ(static_cast<DWORD>(REG_OPTION_VOLATILE), g_create.options);
}

TEST_F(QelRegKey, OpeningClosesWhatWasOpen) {
    CQelRegKey key;
    ASSERT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    const HKEY first = key.GetHKey();
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"Software\\Missing", false));
    EXPECT_FALSE(HandleWorks(first));
    EXPECT_FALSE(key.ValueExists(L"v"));

    ASSERT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    const HKEY second = key.GetHKey();
    CQelRegKey parent;
    ASSERT_TRUE(parent.Create(HKEY_LOCAL_MACHINE, VOLATILE, true, true));
    EXPECT_FALSE(key.Create(HKEY_LOCAL_MACHINE, CHILD_OF_VOLATILE, false, false));
    EXPECT_FALSE(HandleWorks(second));
}

TEST_F(QelRegKey, WrapsAHandle) {
    const HKEY handle = OpenHandle(PATH);
    {
        CQelRegKey key(handle);
        EXPECT_EQ(handle, key.GetHKey());
        EXPECT_EQ(L"", key.GetPath());
        EXPECT_TRUE(key.SetValue(L"v", 7ul));
    }
    EXPECT_FALSE(HandleWorks(handle)) << "closed with the object";
}

TEST_F(QelRegKey, AssigningAHandleDoesNotCloseTheOpenKey) {
    const HKEY before = OpenHandle(PATH), after = OpenHandle(PATH);
    CQelRegKey key(before);
    CQelRegKey& result = key = after;
    EXPECT_EQ(&key, &result);
    EXPECT_EQ(after, key.GetHKey());
    EXPECT_TRUE(HandleWorks(before));
    RegCloseKey(before);
}

TEST_F(QelRegKey, AssigningAHandleOpensAClosedKey) {
    CQelRegKey key;
    key = OpenHandle(PATH);
    EXPECT_TRUE(key.SetValue(L"v", 7ul));
}

TEST_F(QelRegKey, CopiesShareNoHandle) {
    CQelRegKey copy(m_key);
    EXPECT_EQ(nullptr, copy.GetHKey());
    EXPECT_EQ(L"", copy.GetPath());
    EXPECT_FALSE(copy.SetValue(L"v", 1ul));

    CQelRegKey other;
    ASSERT_TRUE(other.Open(HKEY_LOCAL_MACHINE, L"Software", false));
    const HKEY handle = other.GetHKey();
    other = m_key;
    EXPECT_EQ(handle, other.GetHKey());
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software", other.GetPath());
}

TEST_F(QelRegKey, CloseForgetsEverything) {
    const HKEY handle = m_key.GetHKey();
    EXPECT_FALSE(m_key.ValueExists(L"missing"));
    m_key.Close();
    EXPECT_FALSE(HandleWorks(handle));
    EXPECT_EQ(nullptr, m_key.GetHKey());
    EXPECT_EQ(0, m_key.LastResult());
    EXPECT_EQ(L"", m_key.GetPath());
}

TEST_F(QelRegKey, CloseOfAClosedKeyChangesNothing) {
    CQelRegKey key;
    EXPECT_FALSE(key.Open(HKEY_LOCAL_MACHINE, L"Software\\Missing", false));
    key.Close();
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastResult());
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software\\Missing", key.GetPath());
}

TEST_F(QelRegKey, AClosedKeyRefusesEverything) {
    CQelRegKey key;
    ULONG number = 5, size = 1;
    BYTE byte = 9;
    CQelString text(L"text"), name(L"name");
    Texts texts{L"text"};
    EXPECT_EQ(0u, key.GetRegType(L"v"));
    EXPECT_FALSE(key.ValueExists(L"v"));
    EXPECT_FALSE(key.SubKeyExists(L"v"));
    EXPECT_FALSE(key.GetValue(L"v", number));
    EXPECT_FALSE(key.GetValue(L"v", text));
    EXPECT_FALSE(key.GetValue(L"v", texts));
    EXPECT_FALSE(key.GetValue(L"v", &byte, size));
    EXPECT_FALSE(key.SetValue(L"v", number));
    EXPECT_FALSE(key.SetValue(L"v", CQelString(L"x")));
    EXPECT_FALSE(key.SetValue(L"v", &byte, size));
    EXPECT_FALSE(key.SetValue(L"v", texts));
    EXPECT_FALSE(key.DeleteValue(L"v"));
    EXPECT_FALSE(key.DeleteSubKey(L"v"));
    EXPECT_FALSE(key.EnumSubKey(name));
    EXPECT_FALSE(key.EnumValue(name));
    EXPECT_FALSE(key.AddValueToMultiString(L"v", L"x"));
    EXPECT_FALSE(key.IsValueInMultiString(L"v", L"x"));
    EXPECT_FALSE(key.IsSubStringValueInMultiString(L"v", L"x", name));
    EXPECT_TRUE(key.RemoveValueFromMultiString(L"v", L"x")) << "nothing to read, nothing to remove";
    EXPECT_EQ(5u, number);
    EXPECT_EQ(1u, size);
    EXPECT_EQ(9, byte);
    EXPECT_EQ(L"", text) << "the text is emptied first";
    EXPECT_EQ(L"name", name);
    EXPECT_EQ(Texts{L"text"}, texts);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(QelRegKey, FlushTellsItsResult) {
    EXPECT_EQ(0, m_key.FlushKey());
    EXPECT_EQ(std::vector<std::string>{"CQelRegKey::RegFlushKey Success"}, m_log.Lines());
    m_log.Clear();
    CQelRegKey closed;
    EXPECT_EQ(ERROR_INVALID_HANDLE, closed.FlushKey());
    EXPECT_EQ(ERROR_INVALID_HANDLE, closed.LastResult());
    // The conversion is incomplete, so the number is missing from the line.
    EXPECT_EQ(std::vector<std::string>{"CQelRegKey::RegFlushKey Failure: "}, m_log.Lines());
}

TEST_F(QelRegKey, TellsWhatExists) {
    m_key.SetValue(L"v", 1ul);
    m_hive.Set(L"Software\\Test\\Child", L"v", 1);
    EXPECT_TRUE(m_key.ValueExists(L"v"));
    EXPECT_EQ(0, m_key.LastResult());
    EXPECT_FALSE(m_key.ValueExists(L"Child"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
    EXPECT_TRUE(m_key.SubKeyExists(L"Child"));
    EXPECT_EQ(0, m_key.LastResult());
    EXPECT_FALSE(m_key.SubKeyExists(L"v"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
}

TEST_F(QelRegKey, DeletesATreeThreeLevelsDeep) {
    for (const wchar_t* path : {L"Software\\Test\\A\\B1\\C1", L"Software\\Test\\A\\B1\\C2", L"Software\\Test\\A\\B2",
                                L"Software\\Test\\A\\B3\\C1\\D", L"Software\\Test\\Other"})
        m_hive.Set(path, L"v", 1);
    EXPECT_TRUE(m_key.DeleteSubKey(L"A"));
    EXPECT_EQ(0, m_key.LastResult());
    EXPECT_FALSE(Exists(L"Software\\Test\\A"));
    EXPECT_TRUE(Exists(L"Software\\Test\\Other"));
}

TEST_F(QelRegKey, DeletesNoNamelessOrMissingKey) {
    EXPECT_FALSE(m_key.DeleteSubKey(nullptr));
    EXPECT_FALSE(m_key.DeleteSubKey(L""));
    EXPECT_TRUE(Exists(PATH));
    EXPECT_FALSE(m_key.DeleteSubKey(L"Missing"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.LastResult());
}

LSTATUS(WINAPI* g_deleteKey)(HKEY, LPCWSTR);
LSTATUS WINAPI RefuseB2(HKEY key, LPCWSTR name) {
    return std::wcscmp(name, L"B2") == 0 ? ERROR_ACCESS_DENIED : g_deleteKey(key, name);
}

TEST_F(QelRegKey, AFailedDeletionLeavesWhatIsDeletedDeleted) {
    for (const wchar_t* path : {L"Software\\Test\\A\\B1\\C", L"Software\\Test\\A\\B2\\C", L"Software\\Test\\A\\B3"})
        m_hive.Set(path, L"v", 1);
    const ImportPatch patch(nullptr, "ADVAPI32.dll", "RegDeleteKeyW", reinterpret_cast<void*>(RefuseB2));
    g_deleteKey = patch.Original<decltype(g_deleteKey)>();
    EXPECT_FALSE(m_key.DeleteSubKey(L"A"));
    EXPECT_EQ(ERROR_ACCESS_DENIED, m_key.LastResult());
    EXPECT_FALSE(Exists(L"Software\\Test\\A\\B1"));
    EXPECT_FALSE(Exists(L"Software\\Test\\A\\B2\\C"));
    EXPECT_TRUE(Exists(L"Software\\Test\\A\\B2"));
    EXPECT_TRUE(Exists(L"Software\\Test\\A\\B3"));
}

TEST_F(QelRegKey, EnumeratesSubKeys) {
    m_hive.Set(L"Software\\Test\\A", L"v", 1);
    m_hive.Set(L"Software\\Test\\B", L"v", 1);
    CQelString name(L"before");
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(L"A", name);
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(L"B", name);
    EXPECT_FALSE(m_key.EnumSubKey(name));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, m_key.LastResult());
    EXPECT_EQ(L"B", name) << "untouched at the end";
    m_key.ResetEnumeration();
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(L"A", name);
}

TEST_F(QelRegKey, EnumeratesValueNames) {
    m_key.SetValue(L"one", 1ul);
    m_key.SetValue(L"two", CQelString(L"text"));
    std::vector<std::wstring> names;
    for (CQelString name; m_key.EnumValue(name);)
        names.push_back(name);
    EXPECT_EQ((std::vector<std::wstring>{L"one", L"two"}), names);
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, m_key.LastResult());
}

TEST_F(QelRegKey, TheIndexAdvancesOnFailureAndIsShared) {
    m_hive.Set(L"Software\\Test\\A", L"v", 1);
    m_hive.Set(L"Software\\Test\\B", L"v", 1);
    CQelString name;
    EXPECT_FALSE(m_key.EnumValue(name)); // no values: index 0 fails
    EXPECT_TRUE(m_key.EnumSubKey(name)); // index 1
    EXPECT_EQ(L"B", name);
}

TEST_F(QelRegKey, LongValueNamesFailTheEnumerationOnce) {
    m_key.SetValue(CQelString(std::wstring(512, L'n').c_str()), 1ul);
    m_key.SetValue(L"short", 1ul);
    int named = 0, failed = 0;
    CQelString name;
    for (int i = 0; i < 2; ++i)
        ++(m_key.EnumValue(name) ? named : failed);
    EXPECT_EQ(1, named);
    EXPECT_EQ(1, failed);
    EXPECT_EQ(L"short", name);
}

TEST_F(QelRegKey, TheLongestNamesAreEnumerated) {
    const std::wstring key(255, L'k'), value(511, L'v');
    m_hive.Set((L"Software\\Test\\" + key).c_str(), L"v", 1);
    m_key.SetValue(CQelString(value.c_str()), 1ul);
    CQelString name;
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(key, name);
    m_key.ResetEnumeration();
    EXPECT_TRUE(m_key.EnumValue(name));
    EXPECT_EQ(value, name);
}

TEST_F(QelRegKey, TheIndexSurvivesAReopen) {
    m_hive.Set(L"Software\\Test\\A", L"v", 1);
    m_hive.Set(L"Software\\Test\\B", L"v", 1);
    CQelString name;
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, PATH, true));
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(L"B", name);
    m_key.Close();
    EXPECT_TRUE(m_key.Open(HKEY_LOCAL_MACHINE, PATH, true));
    EXPECT_TRUE(m_key.EnumSubKey(name));
    EXPECT_EQ(L"A", name);
}

} // namespace
