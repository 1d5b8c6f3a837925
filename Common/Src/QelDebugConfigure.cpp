// How the log finds its level and its file.
#include "FcoeAgent/QelDebug.h"

#include <bit>
#include <cwchar>

#include <fcntl.h>
#include <io.h>
#include <share.h>

#include "Common/Src/LogGuard.h"
#include "Common/Src/Owner.h"
#include "Common/Src/QelSecure.h"
#include "Common/Src/SuiteKeys.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelDebugConfigure";
constexpr std::size_t PATH_CAPACITY = 1024;
constexpr std::size_t TEMP_CAPACITY = 260;
constexpr std::size_t FILE_NAME_LIMIT = 246;

CQelKeyHandle OpenSuiteKey() {
    CQelKeyHandle key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, LOG_SETTINGS_KEY, 0, KEY_READ, key.Put()) != ERROR_SUCCESS)
        key.Release();
    return key;
}

// Levels 1 and 2 are the registry's to replace, and 0 without the suite's key.
ULONG LevelThatCounts(ULONG ulLevel) {
    if (ulLevel != 1 && ulLevel != 2)
        return ulLevel;
    const CQelKeyHandle key = OpenSuiteKey();
    if (!key)
        return 0;
    DWORD dwTrace = 0, dwSize = sizeof dwTrace;
    const LONG lResult =
        RegQueryValueExW(key.Get(), L"TRACE", nullptr, nullptr, reinterpret_cast<BYTE*>(&dwTrace), &dwSize);
    return lResult == ERROR_SUCCESS ? dwTrace : ulLevel;
}

// The environment's folder for temporary files; empty when it is not set or too long.
void GetTemp(wchar_t (&szFolder)[TEMP_CAPACITY]) {
    if (GetEnvironmentVariableW(L"Temp", szFolder, TEMP_CAPACITY) >= TEMP_CAPACITY)
        szFolder[0] = L'\0';
}

void Copy(wchar_t (&szPath)[PATH_CAPACITY], const wchar_t* pszText) {
    QelSafeCopy(SOURCE_FILE, __LINE__, szPath, PATH_CAPACITY, pszText);
}

void Append(wchar_t (&szPath)[PATH_CAPACITY], const wchar_t* pszText) {
    QelSafeCat(SOURCE_FILE, __LINE__, szPath, PATH_CAPACITY, pszText);
}

// Where the log file of a module lies. The set-up program decides for itself; while the suite is being installed, and
// without an installation, it is the temporary folder; else the suite's folder, or the current drive's root when the
// registry does not name it.
void BuildPath(wchar_t (&szPath)[PATH_CAPACITY], const wchar_t* pszModuleName, const wchar_t* pszFileName) {
    if (_wcsicmp(pszModuleName, L"PwSetup") == 0) {
        Copy(szPath, pszFileName);
        return;
    }
    const CQelKeyHandle key = OpenSuiteKey();
    if (key && _wcsicmp(pszModuleName, L"Qel2Setp") != 0) {
        wchar_t szFolder[PATH_CAPACITY] = {};
        DWORD dwSize = sizeof szFolder / 2; // half the buffer, so that the text is terminated
        if (RegQueryValueExW(key.Get(), L"InstalledDir", nullptr, nullptr, reinterpret_cast<BYTE*>(szFolder),
                             &dwSize) == ERROR_SUCCESS)
            Copy(szPath, szFolder);
    } else {
        wchar_t szTemp[TEMP_CAPACITY] = {};
        GetTemp(szTemp);
        Copy(szPath, szTemp);
    }
    Append(szPath, L"\\");
    Append(szPath, pszFileName);
}

FILE* OpenFile(const wchar_t* pszPath, int nAppend) {
    FILE* const pFile = _wfsopen(pszPath, nAppend ? L"a+" : L"w", _SH_DENYWR);
    if (!pFile)
        return nullptr;
    _setmode(_fileno(pFile), _O_BINARY); // lines come with their CR LF
    // A program that the host starts would keep the file, and the next host could not write it.
    SetHandleInformation(std::bit_cast<HANDLE>(_get_osfhandle(_fileno(pFile))), HANDLE_FLAG_INHERIT, 0);
    return pFile;
}

} // namespace

int CQelDebug::Configure(const wchar_t* pszModuleName, const wchar_t* pszFileName, ULONG ulLevel, int nAppend,
                         ULONG ulMaximumSize) try {
    if (ulLevel == 0) {
        m_ulLevel = 0;
        return -1;
    }
    ulLevel = LevelThatCounts(ulLevel);
    if (ulLevel == 0 || !pszModuleName || !pszFileName)
        return -1;
    const std::size_t nFileName = wcslen(pszFileName);
    if (nFileName == 0 || nFileName >= FILE_NAME_LIMIT)
        return -1;

    const std::size_t nCapacity = wcslen(pszModuleName) + 1;
    auto pszName = std::make_unique<wchar_t[]>(nCapacity);
    QelSafeCopy(SOURCE_FILE, __LINE__, pszName.get(), nCapacity, pszModuleName);
    const CQelLogGuard guard(*m_pLock);
    if (!guard)
        return -1;
    m_pszModuleName = std::move(pszName);
    m_ulMaximumSize = ulMaximumSize;

    wchar_t szPath[PATH_CAPACITY] = {};
    BuildPath(szPath, pszModuleName, pszFileName);
    FILE* pFile = OpenFile(szPath, nAppend);
    if (!pFile) {
        // A path without a folder has no second place; the log is then configured and writes nothing.
        if (const wchar_t* pszTail = wcsrchr(szPath, L'\\')) {
            wchar_t szTemp[TEMP_CAPACITY] = {};
            GetTemp(szTemp);
            QelSafeCat(SOURCE_FILE, __LINE__, szTemp, TEMP_CAPACITY, pszTail);
            pFile = OpenFile(szTemp, nAppend);
            if (!pFile)
                return -1;
        }
    }
    if (FILE* pPrevious = m_pFile.exchange(pFile))
        fclose(pPrevious);
    m_ulLevel = ulLevel;
    m_bConfigured.store(true, std::memory_order_release);
    return 0;
} catch (...) {
    return -1;
}
