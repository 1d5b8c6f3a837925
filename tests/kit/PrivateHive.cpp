#include "tests/kit/PrivateHive.h"

#include <gtest/gtest.h>

PrivateHive::PrivateHive() {
    m_path = L"Software\\FcoeTestHive" + std::to_wstring(GetCurrentProcessId());
    RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()); // left by a program that ended early and had this process id
    EXPECT_EQ(0, RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hive,
                                 nullptr));
    EXPECT_EQ(0, RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hive));
}

PrivateHive::~PrivateHive() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_hive);
    RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
}

void PrivateHive::Set(const wchar_t* key, const wchar_t* value, const std::wstring& text) {
    SetRaw(key, value, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void PrivateHive::Set(const wchar_t* key, const wchar_t* value, DWORD number) {
    SetRaw(key, value, REG_DWORD, &number, sizeof number);
}

void PrivateHive::SetRaw(const wchar_t* key, const wchar_t* value, DWORD type, const void* data, DWORD size) {
    HKEY opened = nullptr;
    ASSERT_EQ(0, RegCreateKeyExW(HKEY_LOCAL_MACHINE, key, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr));
    // The registry looks behind a text that has no end whether it follows there, and would store it with the text.
    std::vector<BYTE> bytes(size + sizeof(wchar_t), 0xFF);
    std::copy_n(static_cast<const BYTE*>(data), size, bytes.begin());
    EXPECT_EQ(0, RegSetValueExW(opened, value, 0, type, bytes.data(), size));
    RegCloseKey(opened);
}

void PrivateHive::Delete(const wchar_t* key, const wchar_t* value) {
    HKEY opened = nullptr;
    ASSERT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_ALL_ACCESS, &opened));
    EXPECT_EQ(0, RegDeleteValueW(opened, value));
    RegCloseKey(opened);
}

void PrivateHive::DeleteKey(const wchar_t* key) {
    EXPECT_EQ(0, RegDeleteTreeW(HKEY_LOCAL_MACHINE, key));
}
