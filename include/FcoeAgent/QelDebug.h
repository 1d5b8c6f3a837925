// The suite's diagnostic log and its scope tracer.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>

#include <windows.h>

#include "FcoeAgent/QelExport.h"
#include "FcoeAgent/QelLock.h"
#include "FcoeAgent/QelTypes.h"

// The trace log: lines of text in a file and, at level 4, also in the debugger.
//
// | level | Print   | Error   | debugger   |
// |   0   | off     | off     | no         |
// |   1   | to file | to file | no         |
// |   2   | off     | to file | no         |
// |   3   | to file | to file | no         |
// |   4   | to file | to file | every line |
//
// The process has one instance, Instance(); others can be made, each writes to a file of its own.
//
// Threading: Print and Error may be called from any thread; whole lines are written, one at a time, and flushed.
// Configure belongs to the thread that starts the module.
// Errors: the log never fails its caller; only Configure tells.
class FCOEAGNT_API CQelDebug {
  public:
    CQelDebug();
    virtual ~CQelDebug();
    CQelDebug(const CQelDebug&) = delete;
    CQelDebug& operator=(const CQelDebug&) = delete;

    // The module's own log, built on first use and closed when the module is unloaded. At the end of the process it is
    // left to the system, silent from then on; an object of another's making is destroyed as any other is.
    static CQelDebug& Instance();

    // Opens the log file. The registry may replace levels 1 and 2; docs/log.md tells how and where the file lies.
    //   pszModuleName  first field of every line
    //   pszFileName    1 to 245 characters
    //   ulLevel        as above
    //   nAppend        non-zero appends to the file, zero rewrites it
    //   ulMaximumSize  file length in bytes at which further lines are dropped; 0 is no limit
    // Returns 0, or -1 when the file cannot be opened or tracing stays off.
    int Configure(const wchar_t* pszModuleName, const wchar_t* pszFileName, ULONG ulLevel, int nAppend,
                  ULONG ulMaximumSize);

    // Writes one line; format and arguments as those of CQelString::FormatString.
    void Print(const wchar_t* pszFormat, ...);
    // Writes one line "source (line): message"; the message is cut at 1023 characters. Active at level 2, too. The
    // source file by its path in the project, with backslashes and without extension: Common\Src\QelRegKey.
    void Error(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszFormat, ...);

    // Whether Print writes anything: what a caller tests before it prepares costly arguments.
    bool IsPrinting() const noexcept;

  private:
    friend class CQelDebugScope;
    void AddDepth(LONG lChange) noexcept;
    void WriteLine(const wchar_t* pszFormat, ...) QEL_REQUIRES(*m_pLock);
    void WriteLineV(const wchar_t* pszFormat, va_list args) QEL_REQUIRES(*m_pLock);
    void TryWriteLine(const wchar_t* pszFormat, va_list args) QEL_REQUIRES(*m_pLock);

    std::atomic<LONG> m_lDepth; // nesting of traced scopes; only indicative with several threads
    std::unique_ptr<wchar_t[]> m_pszModuleName QEL_GUARDED_BY(*m_pLock);
    std::atomic<FILE*> m_pFile; // changed and written to under the lock; looked at without it
    CQelLock* m_pLock;          // the one below
    CQelLock m_csLock;
    std::atomic<bool> m_bConfigured;
    std::atomic<ULONG> m_ulLevel;
    ULONG m_ulMaximumSize QEL_GUARDED_BY(*m_pLock);
};

inline bool CQelDebug::IsPrinting() const noexcept {
    const ULONG ulLevel = m_ulLevel.load(std::memory_order_relaxed);
    return ulLevel != 0 && ulLevel != 2 && m_bConfigured.load(std::memory_order_acquire) &&
           m_pFile.load(std::memory_order_relaxed) != nullptr;
}

// Writes "ENTRY:  name" when it is made and "EXIT:  name", with the result as it stands then, when it goes.
// The name and the result variable must outlive the scope. With the log off it costs a test and a count.
class CQelDebugScope {
  public:
    explicit CQelDebugScope(const wchar_t* pszFunction);
    CQelDebugScope(const wchar_t* pszFunction, const LONG* pnResult);
    CQelDebugScope(const wchar_t* pszFunction, const QEL_RESULT* pResult);
    CQelDebugScope(const wchar_t* pszFunction, const BOOL* pbResult);
    ~CQelDebugScope();
    CQelDebugScope(const CQelDebugScope&) = delete;
    CQelDebugScope& operator=(const CQelDebugScope&) = delete;

    // Makes the EXIT line show an HRESULT.
    void ShowHResult(const HRESULT* phResult);

  private:
    enum class Kind : ULONG { None = 0, Boolean = 1, Integer = 2, Result = 3, HResult = 4 };

    const wchar_t* m_pszFunction;
    Kind m_eKind = Kind::None;
    const BOOL* m_pbResult = nullptr;
    const LONG* m_pnResult = nullptr;
    const QEL_RESULT* m_pResult = nullptr;
    const HRESULT* m_phResult = nullptr;
};

// The result of a traced operation: a scope whose EXIT line shows what the operation returns.
//
//     CQelTracedResult traced(L"CQelFcoeFabric::Get", FALSE);
//     return traced(CopyCached(CacheKey::FABRIC_RECORD, fabric));
//
// The value given at first is what the EXIT line shows when an exception ends the operation.
template <class Result> class CQelTracedResult {
  public:
    CQelTracedResult(const wchar_t* pszFunction, Result initial) : m_result(initial), m_scope(pszFunction, &m_result) {}

    Result operator()(Result result) { return m_result = result; }

  private:
    Result m_result; // before the scope, which reads it at its end
    CQelDebugScope m_scope;
};

// Writes to the module's own log; with the log off the arguments are not evaluated.
#define QEL_PRINT(...)                                                                                                 \
    do {                                                                                                               \
        if (CQelDebug::Instance().IsPrinting())                                                                        \
            CQelDebug::Instance().Print(__VA_ARGS__);                                                                  \
    } while (false)
