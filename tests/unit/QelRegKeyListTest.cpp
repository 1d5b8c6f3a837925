// CQelRegKey: lists that are kept in a value.
#include "FcoeAgent/QelRegKey.h"

#include "tests/kit/ImportPatch.h"
#include "tests/unit/QelRegKeyFixture.h"

namespace {

int g_writes;
LSTATUS(WINAPI* g_setValue)(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD);
LSTATUS WINAPI CountWrite(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
    ++g_writes;
    return g_setValue(key, name, reserved, type, data, size);
}

class QelRegKeyList : public QelRegKeyFixture {
  protected:
    QelRegKeyList() : m_patch(nullptr, "ADVAPI32.dll", "RegSetValueExW", reinterpret_cast<void*>(CountWrite)) {
        g_setValue = m_patch.Original<decltype(g_setValue)>();
        m_key.SetValue(L"list", Texts{L"One", L"Two", L"ONE"});
        g_writes = 0;
    }
    ImportPatch m_patch;
};

TEST_F(QelRegKeyList, AddingWhatIsThereInOtherLetterCaseWritesNothing) {
    EXPECT_TRUE(m_key.AddValueToMultiString(L"list", L"tWO"));
    EXPECT_EQ(0, g_writes);
    EXPECT_EQ((Texts{L"One", L"Two", L"ONE"}), List(L"list"));
}

TEST_F(QelRegKeyList, AddsAtTheEnd) {
    EXPECT_TRUE(m_key.AddValueToMultiString(L"list", L"Three"));
    EXPECT_EQ(1, g_writes);
    EXPECT_EQ((Texts{L"One", L"Two", L"ONE", L"Three"}), List(L"list"));
}

TEST_F(QelRegKeyList, AddingToAMissingValueCreatesIt) {
    EXPECT_TRUE(m_key.AddValueToMultiString(L"new", L"One"));
    EXPECT_EQ(Texts{L"One"}, List(L"new"));
    EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), m_key.GetRegType(L"new"));
}

TEST_F(QelRegKeyList, AddingReturnsTheWritesResult) {
    CQelRegKey key;
    ASSERT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    EXPECT_FALSE(key.AddValueToMultiString(L"list", L"Three"));
    EXPECT_EQ(ERROR_ACCESS_DENIED, key.LastResult());
    EXPECT_TRUE(key.AddValueToMultiString(L"list", L"One"));
}

TEST_F(QelRegKeyList, RemovesEveryEqualEntryRegardlessOfCase) {
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"list", L"one"));
    EXPECT_EQ(1, g_writes);
    EXPECT_EQ(Texts{L"Two"}, List(L"list"));
}

TEST_F(QelRegKeyList, RemovingWhatIsNotThereWritesNothing) {
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"list", L"Three"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"missing", L"One"));
    EXPECT_EQ(0, g_writes);
    EXPECT_FALSE(m_key.ValueExists(L"missing"));
}

TEST_F(QelRegKeyList, AnEmptiedListIsJustTheFinalTerminator) {
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"list", L"One"));
    EXPECT_TRUE(m_key.RemoveValueFromMultiString(L"list", L"Two"));
    EXPECT_EQ((std::vector<BYTE>{0, 0}), Raw(L"list"));
}

TEST_F(QelRegKeyList, RemovingReturnsTheWritesResult) {
    CQelRegKey key;
    ASSERT_TRUE(key.Open(HKEY_LOCAL_MACHINE, PATH, false));
    EXPECT_FALSE(key.RemoveValueFromMultiString(L"list", L"One"));
    EXPECT_TRUE(key.RemoveValueFromMultiString(L"list", L"Three"));
}

TEST_F(QelRegKeyList, FindsEntriesRegardlessOfCase) {
    EXPECT_TRUE(m_key.IsValueInMultiString(L"list", L"TWO"));
    EXPECT_FALSE(m_key.IsValueInMultiString(L"list", L"Tw"));
    EXPECT_FALSE(m_key.IsValueInMultiString(L"missing", L"Two"));
}

TEST_F(QelRegKeyList, FindsTheFirstEntryWithTheSubstring) {
    CQelString found(L"before");
    EXPECT_TRUE(m_key.IsSubStringValueInMultiString(L"list", L"nE", found));
    EXPECT_EQ(L"One", found);
    EXPECT_TRUE(m_key.IsSubStringValueInMultiString(L"list", L"W", found));
    EXPECT_EQ(L"Two", found);
    EXPECT_FALSE(m_key.IsSubStringValueInMultiString(L"list", L"x", found));
    EXPECT_FALSE(m_key.IsSubStringValueInMultiString(L"missing", L"", found));
    EXPECT_EQ(L"Two", found);
    EXPECT_TRUE(m_key.IsSubStringValueInMultiString(L"list", L"", found));
    EXPECT_EQ(L"One", found);
}

} // namespace
