#include "FcoeAgent/QelDebug.h"

#include <cwchar>
#include <iterator>
#include <string_view>

#include <io.h>

#include "Common/Src/LogGuard.h"
#include "Common/Src/LogLine.h"
#include "Common/Src/ProcessExit.h"

namespace {

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

CQelDebug::CQelDebug()
    : m_lDepth(0), m_pFile(nullptr), m_pLock(&m_csLock), m_bConfigured(false), m_ulLevel(0), m_ulMaximumSize(0) {}

CQelDebug::~CQelDebug() {
    if (FILE* pFile = m_pFile.exchange(nullptr))
        fclose(pFile);
}

CQelDebug& CQelDebug::Instance() {
    // At the end of the process every line is in the file already, and closing could wait for a lock of the run time
    // that a dead thread holds. The log only forgets its file: whatever ends later may still print.
    struct ModuleLog {
        ~ModuleLog() {
            if (ProcessIsTerminating())
                m_log.Get().m_pFile = nullptr;
        }
        CQelLeftAtProcessEnd<CQelDebug> m_log;
    };
    static ModuleLog log;
    return log.m_log.Get();
}

void CQelDebug::Print(const wchar_t* pszFormat, ...) {
    if (!IsPrinting())
        return;
    const CQelLogGuard guard(*m_pLock);
    if (!guard)
        return;
    va_list args;
    va_start(args, pszFormat);
    WriteLineV(pszFormat, args);
    va_end(args);
}

void CQelDebug::Error(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszFormat, ...) {
    if (m_ulLevel.load(std::memory_order_relaxed) == 0 || !m_bConfigured.load(std::memory_order_acquire) || !m_pFile)
        return;
    const CQelLogGuard guard(*m_pLock);
    if (!guard)
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
    try {
        TryWriteLine(pszFormat, args);
    } catch (...) {
        try {
            va_list argsNone = {};
            TryWriteLine(L"CQelDebug::Error - EXCEPTION DURING DEBUG PRINT.", argsNone);
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
    m_pnResult = pnResult;
    if (pnResult)
        m_eKind = Kind::Integer;
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction, const QEL_RESULT* pResult) : CQelDebugScope(pszFunction) {
    m_pResult = pResult;
    if (pResult)
        m_eKind = Kind::Result;
}

CQelDebugScope::CQelDebugScope(const wchar_t* pszFunction, const BOOL* pbResult) : CQelDebugScope(pszFunction) {
    m_pbResult = pbResult;
    if (pbResult)
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
    m_phResult = phResult;
    if (phResult)
        m_eKind = Kind::HResult;
}
