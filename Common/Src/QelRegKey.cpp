#include "FcoeAgent/QelRegKey.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iterator>

#include "Common/Src/Owner.h"
#include "Common/Src/QelSecure.h"
#include "FcoeAgent/QelDebug.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelRegKey";

struct RootName {
    HKEY hRoot;
    const wchar_t* pszPrefix;
};

// The prefix of a predefined key; null for any other.
const wchar_t* RootPrefix(HKEY hRoot) {
    static const RootName arrRootNames[] = {
        {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE\\"},
        {HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT\\"},
        {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER\\"},
        {HKEY_USERS, L"HKEY_USERS\\"},
        {HKEY_PERFORMANCE_DATA, L"HKEY_PERFORMANCE_DATA\\"},
        {HKEY_CURRENT_CONFIG, L"HKEY_CURRENT_CONFIG\\"},
        {HKEY_DYN_DATA, L"HKEY_DYN_DATA\\"},
    };
    for (const RootName& root : arrRootNames)
        if (root.hRoot == hRoot)
            return root.pszPrefix;
    return nullptr;
}

REGSAM Access(bool bWrite) {
    return bWrite ? KEY_READ | KEY_WRITE : KEY_READ;
}

bool IsSame(const CQelString& strOne, const CQelString& strOther) {
    return _wcsicmp(strOne.c_str(), strOther.c_str()) == 0;
}

bool Contains(const std::vector<CQelString>& vecEntries, const CQelString& strValue) {
    return std::any_of(vecEntries.begin(), vecEntries.end(),
                       [&strValue](const CQelString& strEntry) { return IsSame(strEntry, strValue); });
}

} // namespace

CQelRegKey::CQelRegKey() {
    Init();
}

CQelRegKey::CQelRegKey(HKEY hKey) {
    Init();
    *this = hKey;
}

CQelRegKey::CQelRegKey(const CQelRegKey&) {
    Init();
}

CQelRegKey& CQelRegKey::operator=(const CQelRegKey&) {
    return *this;
}

CQelRegKey& CQelRegKey::operator=(HKEY hKey) {
    m_hKey = hKey;
    m_bIsOpened = true;
    return *this;
}

CQelRegKey::~CQelRegKey() {
    Close();
}

void CQelRegKey::Init() {
    m_hKey = nullptr;
    m_bIsOpened = false;
    m_lLastResult = 0;
    m_dwEnumIndex = 0;
    m_strPath.ClearString();
}

bool CQelRegKey::Open(HKEY hRoot, const CQelString& strSubPath, bool bWrite) {
    Replace([&](HKEY* phKey) { return RegOpenKeyExW(hRoot, strSubPath.c_str(), 0, Access(bWrite), phKey); });
    SetPath(hRoot, strSubPath);
    return m_bIsOpened;
}

bool CQelRegKey::Create(HKEY hRoot, const CQelString& strSubPath, bool bWrite, bool bVolatile) {
    Replace([&](HKEY* phKey) {
        return RegCreateKeyExW(hRoot, strSubPath.c_str(), 0, nullptr,
                               bVolatile ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE, Access(bWrite), nullptr,
                               phKey, nullptr);
    });
    if (m_bIsOpened)
        SetPath(hRoot, strSubPath);
    return m_bIsOpened;
}

// An open key is closed first, whatever comes of the other.
template <class Opening> void CQelRegKey::Replace(Opening opening) {
    if (m_bIsOpened)
        RegCloseKey(m_hKey);
    m_hKey = nullptr;
    m_lLastResult = opening(&m_hKey);
    m_bIsOpened = m_lLastResult == ERROR_SUCCESS;
}

void CQelRegKey::SetPath(HKEY hRoot, const CQelString& strSubPath) {
    if (const wchar_t* pszPrefix = RootPrefix(hRoot))
        m_strPath = pszPrefix + static_cast<const std::wstring&>(strSubPath);
}

void CQelRegKey::Close() {
    if (!m_bIsOpened)
        return;
    RegCloseKey(m_hKey);
    Init();
}

HKEY CQelRegKey::GetHKey() const {
    return m_hKey;
}

LONG CQelRegKey::LastResult() const {
    return m_lLastResult;
}

const CQelString& CQelRegKey::GetPath() const {
    return m_strPath;
}

LONG CQelRegKey::FlushKey() {
    m_lLastResult = RegFlushKey(m_hKey);
    if (m_lLastResult == ERROR_SUCCESS)
        QEL_PRINT(L"CQelRegKey::RegFlushKey Success");
    else
        QEL_PRINT(L"CQelRegKey::RegFlushKey Failure: %l", m_lLastResult); // the incomplete conversion prints nothing
    return m_lLastResult;
}

DWORD CQelRegKey::GetRegType(const CQelString& strName) {
    m_lLastResult = 0;
    DWORD dwRegType = 0;
    return Query(strName, &dwRegType, nullptr, nullptr) ? dwRegType : 0;
}

bool CQelRegKey::ValueExists(const CQelString& strName) {
    return Query(strName, nullptr, nullptr, nullptr);
}

bool CQelRegKey::SubKeyExists(const CQelString& strName) {
    if (!m_bIsOpened)
        return false;
    CQelRegKey key;
    key.Open(m_hKey, strName, false);
    m_lLastResult = key.LastResult();
    return key.m_bIsOpened;
}

// Every read of a value; pdwSize in bytes.
bool CQelRegKey::Query(const CQelString& strName, DWORD* pdwRegType, void* pBuffer, DWORD* pdwSize) {
    if (!m_bIsOpened)
        return false;
    m_lLastResult =
        RegQueryValueExW(m_hKey, strName.c_str(), nullptr, pdwRegType, static_cast<BYTE*>(pBuffer), pdwSize);
    return m_lLastResult == ERROR_SUCCESS;
}

bool CQelRegKey::GetValue(const CQelString& strName, ULONG& ulValue) {
    if (!m_bIsOpened)
        return false;
    QEL_PRINT(L"CQelRegKey::GetValue m_bIsOpened = true");
    DWORD dwRegType = REG_DWORD, dwValue = 0, dwSize = sizeof dwValue;
    const bool bRead = Query(strName, &dwRegType, &dwValue, &dwSize);
    QEL_PRINT(L"CQelRegKey::GetValue :%d", m_lLastResult);
    // Of a value that was not found the system may make any type; of one that is too long it tells it.
    const bool bFound = bRead || m_lLastResult == ERROR_MORE_DATA;
    if (bFound && dwRegType != REG_DWORD) {
        QEL_PRINT(L"CQelRegKey::GetValue dwRegType != REG_DWORD ");
        return false;
    }
    if (bRead)
        ulValue = dwValue;
    return bRead;
}

bool CQelRegKey::GetValue(const CQelString& strName, CQelString& strValue) {
    strValue.ClearString();
    // Half of the buffer is offered, so the text is always terminated. Hosts rely on longer texts being refused.
    wchar_t szBuffer[512] = {};
    DWORD dwSize = sizeof szBuffer / 2;
    if (!Query(strName, nullptr, szBuffer, &dwSize))
        return false;
    strValue = szBuffer;
    return true;
}

bool CQelRegKey::GetValue(const CQelString& strName, std::vector<CQelString>& vecValues) {
    DWORD dwSize = 0;
    if (!Query(strName, nullptr, nullptr, &dwSize))
        return false;
    // Zeroed room for the terminators that the stored bytes may lack, odd sizes included.
    std::vector<wchar_t> vecBuffer((static_cast<ULONG64>(dwSize) + 5) / sizeof(wchar_t));
    if (!Query(strName, nullptr, vecBuffer.data(), &dwSize))
        return false;
    for (const wchar_t* pszEntry = vecBuffer.data(); *pszEntry; pszEntry += wcslen(pszEntry) + 1)
        vecValues.emplace_back(pszEntry);
    return true;
}

bool CQelRegKey::GetValue(const CQelString& strName, BYTE* pbyBuffer, ULONG& ulSize) {
    return Query(strName, nullptr, pbyBuffer, &ulSize);
}

// Every write of a value; ullSize in bytes.
bool CQelRegKey::Store(const CQelString& strName, DWORD dwRegType, const void* pData, ULONG64 ullSize) {
    if (!m_bIsOpened)
        return false;
    m_lLastResult = ullSize > MAXDWORD ? ERROR_NOT_ENOUGH_MEMORY
                                       : RegSetValueExW(m_hKey, strName.c_str(), 0, dwRegType,
                                                        static_cast<const BYTE*>(pData), static_cast<DWORD>(ullSize));
    return m_lLastResult == ERROR_SUCCESS;
}

bool CQelRegKey::SetValue(const CQelString& strName, ULONG ulValue) {
    return Store(strName, REG_DWORD, &ulValue, sizeof ulValue);
}

bool CQelRegKey::SetValue(const CQelString& strName, const CQelString& strValue, bool bExpand) {
    return Store(strName, bExpand ? REG_EXPAND_SZ : REG_SZ, strValue.c_str(),
                 (strValue.Length() + 1) * sizeof(wchar_t));
}

bool CQelRegKey::SetValue(const CQelString& strName, const BYTE* pbyBuffer, ULONG ulSize) {
    return Store(strName, REG_BINARY, pbyBuffer, ulSize);
}

bool CQelRegKey::SetValue(const CQelString& strName, std::vector<CQelString> vecValues) {
    if (!m_bIsOpened)
        return false;
    ULONG64 ullSize = sizeof(wchar_t);
    for (const CQelString& strValue : vecValues)
        ullSize += (strValue.Length() + 1) * sizeof(wchar_t);
    const CQelAllocation<wchar_t> buffer(
        ullSize > MAXDWORD ? nullptr : static_cast<wchar_t*>(std::calloc(1, static_cast<std::size_t>(ullSize))));
    if (!buffer) {
        CQelDebug::Instance().Error(SOURCE_FILE, __LINE__, L"ERROR:  Unable to allocate memory");
        return false;
    }
    wchar_t* pszEntry = buffer.Get(); // zeroed: the final terminator is there already
    for (const CQelString& strValue : vecValues) {
        QelSafeCopy(SOURCE_FILE, __LINE__, pszEntry, strValue.Length() + 1, strValue.c_str());
        pszEntry += strValue.Length() + 1;
    }
    return Store(strName, REG_MULTI_SZ, buffer.Get(), ullSize);
}

bool CQelRegKey::DeleteValue(const CQelString& strName) {
    if (!m_bIsOpened)
        return false;
    m_lLastResult = RegDeleteValueW(m_hKey, strName.c_str());
    return m_lLastResult == ERROR_SUCCESS;
}

bool CQelRegKey::DeleteSubKey(const wchar_t* pszName) {
    if (!m_bIsOpened || !pszName || !*pszName)
        return false;
    CQelRegKey child;
    const bool bOpened = child.Open(m_hKey, pszName, false);
    m_lLastResult = child.LastResult();
    if (!bOpened)
        return false;
    for (;;) {
        wchar_t szGrandchild[256] = {};
        DWORD dwLength = std::size(szGrandchild);
        // Always the first: the one before it is gone.
        if (RegEnumKeyExW(child.m_hKey, 0, szGrandchild, &dwLength, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        if (!child.DeleteSubKey(szGrandchild)) {
            m_lLastResult = child.LastResult();
            return false;
        }
    }
    child.Close();
    return RemoveSubKey(pszName) == ERROR_SUCCESS;
}

LONG CQelRegKey::RemoveSubKey(const wchar_t* pszName) {
    if (!m_hKey)
        return ERROR_SUCCESS;
    m_lLastResult = RegDeleteKeyW(m_hKey, pszName);
    return m_lLastResult;
}

bool CQelRegKey::EnumSubKey(CQelString& strName) {
    if (!m_bIsOpened)
        return false;
    wchar_t szName[256] = {};
    DWORD dwLength = std::size(szName);
    m_lLastResult = RegEnumKeyExW(m_hKey, m_dwEnumIndex++, szName, &dwLength, nullptr, nullptr, nullptr, nullptr);
    if (m_lLastResult != ERROR_SUCCESS)
        return false;
    strName = szName;
    return true;
}

bool CQelRegKey::EnumValue(CQelString& strName) {
    if (!m_bIsOpened)
        return false;
    wchar_t szName[512] = {};
    DWORD dwLength = std::size(szName);
    m_lLastResult = RegEnumValueW(m_hKey, m_dwEnumIndex++, szName, &dwLength, nullptr, nullptr, nullptr, nullptr);
    if (m_lLastResult != ERROR_SUCCESS)
        return false;
    strName = szName;
    return true;
}

void CQelRegKey::ResetEnumeration() {
    m_dwEnumIndex = 0;
}

bool CQelRegKey::AddValueToMultiString(const CQelString& strName, const CQelString& strValue) {
    std::vector<CQelString> vecValues;
    GetValue(strName, vecValues); // a list that cannot be read is an empty one
    if (Contains(vecValues, strValue))
        return true;
    vecValues.push_back(strValue);
    return SetValue(strName, std::move(vecValues));
}

bool CQelRegKey::RemoveValueFromMultiString(const CQelString& strName, const CQelString& strValue) {
    std::vector<CQelString> vecValues;
    if (!GetValue(strName, vecValues))
        return true;
    const auto nRemoved =
        std::erase_if(vecValues, [&strValue](const CQelString& strEntry) { return IsSame(strEntry, strValue); });
    return nRemoved == 0 || SetValue(strName, std::move(vecValues));
}

bool CQelRegKey::IsValueInMultiString(const CQelString& strName, const CQelString& strValue) {
    std::vector<CQelString> vecValues;
    return GetValue(strName, vecValues) && Contains(vecValues, strValue);
}

bool CQelRegKey::IsSubStringValueInMultiString(const CQelString& strName, const CQelString& strSubString,
                                               CQelString& strFound) {
    std::vector<CQelString> vecValues;
    if (!GetValue(strName, vecValues))
        return false;
    CQelString strLowerSubString = strSubString;
    strLowerSubString.MakeLower();
    for (const CQelString& strEntry : vecValues) {
        CQelString strLowerEntry = strEntry;
        strLowerEntry.MakeLower();
        if (wcsstr(strLowerEntry.c_str(), strLowerSubString.c_str())) {
            strFound = strEntry;
            return true;
        }
    }
    return false;
}
