#include "FcoeAgent/QelDebug.h"

#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <io.h>
#include <share.h>

#include "Common/Src/LogLine.h"
#include "Common/Src/Owner.h"
#include "Common/Src/ProcessExit.h"
#include "Common/Src/QelSecure.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelDebug";
constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
constexpr std::size_t PATH_CAPACITY = 1024;
constexpr std::size_t TEMP_CAPACITY = 260;
constexpr std::size_t FILE_NAME_LIMIT = 246;

CQelKeyHandle OpenSuiteKey() {
    CQelKeyHandle key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, SUITE_KEY, 0, KEY_READ, key.Put()) != ERROR_SUCCESS)
        key.Release();
    return key;
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
        DWORD dwSize = 1024; // bytes: half the buffer, so that the text is terminated
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

// "%s\tPID:%x\tTID:%x\t%02.2d:%02.2d:%02.2d.%03.3d\t(%I64X)\tTIER %d\t\t" of what a line starts with.
void AppendHeader(CQelLogLine& line, const wchar_t* pszModuleName, LONG lDepth) {
    SYSTEMTIME time;
    LARGE_INTEGER counter;
    GetLocalTime(&time);
    QueryPerformanceCounter(&counter);
    line.Append(pszModuleName);
    line.Append(L"\tPID:");
    line.AppendHexadecimal(GetCurrentProcessId(), Case::Lower);
    line.Append(L"\tTID:");
    line.AppendHexadecimal(GetCurrentThreadId(), Case::Lower);
    line.Append(L"\t");
    line.AppendDecimal<2>(time.wHour);
    line.Append(L":");
    line.AppendDecimal<2>(time.wMinute);
    line.Append(L":");
    line.AppendDecimal<2>(time.wSecond);
    line.Append(L".");
    line.AppendDecimal<3>(time.wMilliseconds);
    line.Append(L"\t(");
    line.AppendHexadecimal(static_cast<ULONG64>(counter.QuadPart), Case::Upper);
    line.Append(L")\tTIER ");
    line.AppendDecimal(lDepth);
    line.Append(L"\t\t");
}

} // namespace

// Holds the log's lock. While the process ends, a thread that is gone may hold it for ever; the log then stays quiet.
class CQelDebug::CWriting {
  public:
    explicit CWriting(CRITICAL_SECTION* pLock) : m_pLock(pLock) {
        if (!ProcessIsTerminating())
            EnterCriticalSection(m_pLock);
        else if (!TryEnterCriticalSection(m_pLock))
            m_pLock = nullptr;
    }
    ~CWriting() {
        if (m_pLock)
            LeaveCriticalSection(m_pLock);
    }
    CWriting(const CWriting&) = delete;
    CWriting& operator=(const CWriting&) = delete;

    explicit operator bool() const { return m_pLock != nullptr; }

  private:
    CRITICAL_SECTION* m_pLock;
};

CQelDebug::CQelDebug()
    : m_lDepth(0), m_pFile(nullptr), m_pLock(&m_csLock), m_bConfigured(false), m_ulLevel(0), m_ulMaximumSize(0) {
    InitializeCriticalSection(m_pLock);
}

CQelDebug::~CQelDebug() {
    if (ProcessIsTerminating()) {
        // Every line was flushed. Closing could wait for a lock of the run time that a dead thread holds.
        m_pszModuleName.release();
        return;
    }
    if (FILE* pFile = m_pFile.exchange(nullptr))
        fclose(pFile);
    m_pszModuleName.reset();
    DeleteCriticalSection(m_pLock);
}

CQelDebug& CQelDebug::Instance() {
    static CQelDebug log;
    return log;
}

int CQelDebug::Configure(const wchar_t* pszModuleName, const wchar_t* pszFileName, ULONG ulLevel, int nAppend,
                         ULONG ulMaximumSize) try {
    if (ulLevel == 0) {
        m_ulLevel = 0;
        return -1;
    }
    if (ulLevel == 1 || ulLevel == 2) {
        const CQelKeyHandle key = OpenSuiteKey();
        if (!key)
            return -1;
        DWORD dwTrace = 0, dwSize = sizeof dwTrace;
        if (RegQueryValueExW(key.Get(), L"TRACE", nullptr, nullptr, reinterpret_cast<BYTE*>(&dwTrace), &dwSize) ==
            ERROR_SUCCESS)
            ulLevel = dwTrace;
        if (ulLevel == 0)
            return -1;
    }
    if (!pszModuleName || !pszFileName)
        return -1;
    const std::size_t fileNameLength = wcslen(pszFileName);
    if (fileNameLength == 0 || fileNameLength >= FILE_NAME_LIMIT)
        return -1;

    const std::size_t nameCapacity = wcslen(pszModuleName) + 1;
    auto pszName = std::make_unique<wchar_t[]>(nameCapacity);
    QelSafeCopy(SOURCE_FILE, __LINE__, pszName.get(), nameCapacity, pszModuleName);
    CWriting writing(m_pLock);
    if (!writing)
        return -1;
    m_pszModuleName = std::move(pszName);
    m_ulMaximumSize = ulMaximumSize;

    wchar_t szPath[PATH_CAPACITY] = {};
    BuildPath(szPath, pszModuleName, pszFileName);
    const wchar_t* pszMode = nAppend ? L"a+" : L"w";
    FILE* pFile = _wfsopen(szPath, pszMode, _SH_DENYWR);
    if (!pFile) {
        // A path without a folder has no second place; the log is then configured and writes nothing.
        if (const wchar_t* pszTail = wcsrchr(szPath, L'\\')) {
            wchar_t szTemp[TEMP_CAPACITY] = {};
            GetTemp(szTemp);
            QelSafeCat(SOURCE_FILE, __LINE__, szTemp, TEMP_CAPACITY, pszTail);
            pFile = _wfsopen(szTemp, pszMode, _SH_DENYWR);
            if (!pFile)
                return -1;
        }
    }
    if (pFile)
        _setmode(_fileno(pFile), _O_BINARY); // lines come with their CR LF
    if (FILE* pPrevious = m_pFile.exchange(pFile))
        fclose(pPrevious);
    m_ulLevel = ulLevel;
    m_bConfigured.store(true, std::memory_order_release);
    return 0;
} catch (...) {
    return -1;
}

void CQelDebug::Print(const wchar_t* pszFormat, ...) {
    if (!IsPrinting())
        return;
    va_list args;
    va_start(args, pszFormat);
    WriteLineV(pszFormat, args);
    va_end(args);
}

void CQelDebug::Error(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszFormat, ...) {
    if (m_ulLevel.load(std::memory_order_relaxed) == 0 || !m_bConfigured.load(std::memory_order_acquire) || !m_pFile)
        return;
    const CWriting writing(m_pLock);
    if (!writing)
        return;
    wchar_t szMessage[1024] = {};
    va_list args;
    va_start(args, pszFormat);
    _vsnwprintf_s(szMessage, std::size(szMessage), std::size(szMessage) - 1, pszFormat, args);
    va_end(args);
    szMessage[std::size(szMessage) - 1] = L'\0';
    WriteLine(L"%s (%d): %s", pszSourceFile, nLine, szMessage);
}

void CQelDebug::AddDepth(LONG lChange) noexcept {
    // Not one atomic step: a scope costs no bus lock, and readers know that the depth of several threads is a hint.
    m_lDepth.store(m_lDepth.load(std::memory_order_relaxed) + lChange, std::memory_order_relaxed);
}

void CQelDebug::WriteLine(const wchar_t* pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    WriteLineV(pszFormat, args);
    va_end(args);
}

// Writes whatever the level: at level 2 error lines pass, too.
void CQelDebug::WriteLineV(const wchar_t* pszFormat, va_list args) {
    const CWriting writing(m_pLock);
    if (!writing)
        return;
    try {
        TryWriteLine(pszFormat, args);
    } catch (...) {
        try {
            va_list none = {};
            TryWriteLine(L"CQelDebug::Error - EXCEPTION DURING DEBUG PRINT.", none);
        } catch (...) {
            // Not even that: the line is lost.
        }
    }
}

void CQelDebug::TryWriteLine(const wchar_t* pszFormat, va_list args) {
    FILE* pFile = m_pFile;
    if (!pFile)
        return;
    // As _filelength, whose 32 bits end at 2 GB.
    if (m_ulMaximumSize != 0 && _filelengthi64(_fileno(pFile)) >= m_ulMaximumSize)
        return;

    CQelLogLine line; // header and message, joined as "%s%s\n"
    AppendHeader(line, m_pszModuleName.get(), m_lDepth.load(std::memory_order_relaxed));
    line.AppendFormatV(pszFormat, args);
    line.Append(L"\n");
    const std::string_view bytes = line.Bytes();
    // Past the stream's buffer, which stays empty: every line is in the file when this returns.
    _write(_fileno(pFile), bytes.data(), static_cast<unsigned>(bytes.size()));
    if (m_ulLevel.load(std::memory_order_relaxed) == 4)
        OutputDebugStringW(line.Text());
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction) : m_pszFunction(pszFunction) {
    CQelDebug::Instance().AddDepth(1);
    if (m_pszFunction)
        QEL_PRINT(L"ENTRY:  %s", m_pszFunction);
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction, const LONG* pnResult) : CQelDebugScope(pszFunction) {
    if ((m_pnResult = pnResult))
        m_eKind = Kind::Integer;
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction, const QEL_RESULT* pResult) : CQelDebugScope(pszFunction) {
    if ((m_pResult = pResult))
        m_eKind = Kind::Result;
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction, const BOOL* pbResult) : CQelDebugScope(pszFunction) {
    if ((m_pbResult = pbResult))
        m_eKind = Kind::Boolean;
}

CQelDebugScope::~CQelDebugScope() {
    CQelDebug& log = CQelDebug::Instance();
    if (m_pszFunction && log.IsPrinting()) {
        switch (m_eKind) {
        case Kind::Boolean:
            log.Print(L"EXIT:  %s, bReturn=%s", m_pszFunction, *m_pbResult ? L"true" : L"false");
            break;
        case Kind::Integer:
            log.Print(L"EXIT:  %s, nReturn=%d", m_pszFunction, *m_pnResult);
            break;
        case Kind::Result:
            log.Print(L"EXIT:  %s, res.ulErrCode=%d", m_pszFunction, m_pResult->ulErrCode);
            break;
        case Kind::HResult:
            log.Print(L"EXIT:  %s, HRESULT=0X%x", m_pszFunction, *m_phResult);
            break;
        case Kind::None:
            log.Print(L"EXIT:  %s", m_pszFunction);
            break;
        }
    }
    log.AddDepth(-1);
}

void CQelDebugScope::ShowHResult(const HRESULT* phResult) {
    if ((m_phResult = phResult))
        m_eKind = Kind::HResult;
}
