// One registry key.
#pragma once

#include <vector>

#include <windows.h>

#include "FcoeAgent/QelExport.h"
#include "FcoeAgent/QelString.h"

// Wraps one open registry key and remembers the Win32 result of its last registry call.
//
// Rules for every operation but FlushKey: it returns false (or 0) when the key is not open or the registry refuses, and
// leaves the Win32 result in LastResult. Outputs are not touched on failure unless an operation says otherwise. No
// registry failure is thrown; memory exhaustion raises std::bad_alloc. An object belongs to one thread. The native
// registry view is used.
class FCOEAGNT_API CQelRegKey {
  public:
    CQelRegKey();
    // Takes over the open handle; it is not duplicated, and Close closes it. The path is empty.
    explicit CQelRegKey(HKEY hKey);
    // Copying shares no handle: a copy is a closed key, and assigning one key to another changes nothing.
    CQelRegKey(const CQelRegKey& other);
    CQelRegKey& operator=(const CQelRegKey& other);
    // Takes over the open handle; a key already open is not closed first.
    CQelRegKey& operator=(HKEY hKey);
    virtual ~CQelRegKey();

    // Opens an existing key for reading, or for reading and writing.
    bool Open(HKEY hRoot, const CQelString& strSubPath, bool bWrite);
    // Opens or creates a key. bVolatile: the key is gone when the system stops.
    bool Create(HKEY hRoot, const CQelString& strSubPath, bool bWrite, bool bVolatile);
    // Closes an open key and forgets all about it; a closed key stays as it is.
    void Close();

    HKEY GetHKey() const;
    // Win32 result of the last registry call made through this object.
    LONG LastResult() const;
    // Printable path of the key, "HKEY_LOCAL_MACHINE\...": set by Open whether it succeeded or not, by Create only when
    // it did. A root that is not predefined leaves the path as it was.
    const CQelString& GetPath() const;
    // RegFlushKey's result, 0 on success. The system is asked for a closed key, too, and refuses it.
    LONG FlushKey();

    // REG_... type of a value; 0 when the key is closed or there is no such value.
    DWORD GetRegType(const CQelString& strName);
    bool ValueExists(const CQelString& strName);
    bool SubKeyExists(const CQelString& strName);

    // A REG_DWORD value; any other type is refused.
    bool GetValue(const CQelString& strName, ULONG& ulValue);
    // A text of at most 255 characters; a longer one fails with ERROR_MORE_DATA. The output is emptied first.
    bool GetValue(const CQelString& strName, CQelString& strValue);
    // A REG_MULTI_SZ value; its entries are appended to the output.
    bool GetValue(const CQelString& strName, std::vector<CQelString>& vecValues);
    // The raw bytes. ulSize in bytes: in, the buffer's; out, the value's.
    bool GetValue(const CQelString& strName, BYTE* pbyBuffer, ULONG& ulSize);

    bool SetValue(const CQelString& strName, ULONG ulValue);
    // REG_EXPAND_SZ when bExpand is true, else REG_SZ.
    bool SetValue(const CQelString& strName, const CQelString& strValue, bool bExpand = false);
    // REG_BINARY; ulSize in bytes.
    bool SetValue(const CQelString& strName, const BYTE* pbyBuffer, ULONG ulSize);
    // REG_MULTI_SZ.
    bool SetValue(const CQelString& strName, std::vector<CQelString> vecValues);

    bool DeleteValue(const CQelString& strName);
    // Deletes a subkey with all below it. What was deleted before a failure stays deleted.
    bool DeleteSubKey(const wchar_t* pszName);

    // Next subkey or value name; false when there is none left. The two share one index.
    bool EnumSubKey(CQelString& strName);
    bool EnumValue(CQelString& strName);
    void ResetEnumeration();

    // Lists kept in a REG_MULTI_SZ value; entries are compared without regard to case.
    // True when the value is in the list afterwards; nothing is written when it was there already.
    bool AddValueToMultiString(const CQelString& strName, const CQelString& strValue);
    // True when the value is in the list no more, which includes a list that cannot be read.
    bool RemoveValueFromMultiString(const CQelString& strName, const CQelString& strValue);
    bool IsValueInMultiString(const CQelString& strName, const CQelString& strValue);
    // The first entry that contains the substring goes to strFound.
    bool IsSubStringValueInMultiString(const CQelString& strName, const CQelString& strSubString, CQelString& strFound);

  private:
    void Init();
    template <class Opening> void Replace(Opening opening);
    void SetPath(HKEY hRoot, const CQelString& strSubPath);
    bool Query(const CQelString& strName, DWORD* pdwRegType, void* pBuffer, DWORD* pdwSize);
    bool Store(const CQelString& strName, DWORD dwRegType, const void* pData, ULONG64 ullSize);
    LONG RemoveSubKey(const wchar_t* pszName);

    HKEY m_hKey;
    bool m_bIsOpened;
    LONG m_lLastResult;
    DWORD m_dwEnumIndex;
    CQelString m_strPath;
};
