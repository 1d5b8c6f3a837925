// A local-machine registry hive of the test's own: empty at first, gone at the end, invisible to other processes.
#pragma once

#include <string>

#include <windows.h>

class PrivateHive {
  public:
    PrivateHive();
    ~PrivateHive();
    PrivateHive(const PrivateHive&) = delete;
    PrivateHive& operator=(const PrivateHive&) = delete;

    // Values below HKEY_LOCAL_MACHINE; the key is made when it is missing.
    void Set(const wchar_t* key, const wchar_t* value, const std::wstring& text);
    void Set(const wchar_t* key, const wchar_t* value, DWORD number);
    void SetRaw(const wchar_t* key, const wchar_t* value, DWORD type, const void* data, DWORD size);
    void Delete(const wchar_t* key, const wchar_t* value);
    void DeleteKey(const wchar_t* key);

  private:
    std::wstring m_path;
    HKEY m_hive = nullptr;
};
