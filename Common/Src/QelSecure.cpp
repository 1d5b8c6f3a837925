#include "Common/Src/QelSecure.h"

#include <cerrno>
#include <cstdlib>
#include <cwchar>

#include "Common/Src/ProcessExit.h"
#include "FcoeAgent/QelDebug.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelSecure";

// Keeps the handler that ours replaced, and puts it back when the module is unloaded: the process would call into code
// that is gone otherwise. At the end of the process our code stays, and the handler is silent once the log is.
class CInvalidParameterHandler {
  public:
    ~CInvalidParameterHandler() {
        if (IsInstalled())
            _set_invalid_parameter_handler(m_pfnPrevious);
    }
    void Install() {
        if (IsInstalled())
            return;
        CQelDebug::Instance().Error(SOURCE_FILE, __LINE__,
                                    L"Setting invalid parameter handler to: QelSecureInvalidParameterHandler");
        m_pfnPrevious = _set_invalid_parameter_handler(QelSecureInvalidParameterHandler);
    }

  private:
    static bool IsInstalled() { return _get_invalid_parameter_handler() == QelSecureInvalidParameterHandler; }

    _invalid_parameter_handler m_pfnPrevious = nullptr;
};

// Initialised by the compiler: static objects of other files use it while they are made.
constinit CQelLeftAtProcessEnd<CInvalidParameterHandler> g_handler;

// Append failures carry the name of the copy, too: support scripts search the log for this wording.
int Report(int nError, const wchar_t* pszSourceFile, int nLine, const wchar_t* pszDestination) {
    if (nError == EINVAL && pszDestination)
        CQelDebug::Instance().Error(pszSourceFile, nLine, L"QelSafeCopy ERROR: NULL == strSource");
    else if (nError == EINVAL)
        CQelDebug::Instance().Error(SOURCE_FILE, __LINE__, L"QelSafeCopy ERROR: NULL == strDestination");
    else if (nError == ERANGE)
        CQelDebug::Instance().Error(pszSourceFile, nLine, L"QelSafeCopy ERROR: strDestination size 0, or too small");
    return nError;
}

} // namespace

int QelSafeCopy(const wchar_t* pszSourceFile, int nLine, wchar_t* pszDestination, std::size_t nCapacity,
                const wchar_t* pszSource) {
    g_handler.Get().Install();
    return Report(wcscpy_s(pszDestination, nCapacity, pszSource), pszSourceFile, nLine, pszDestination);
}

int QelSafeCat(const wchar_t* pszSourceFile, int nLine, wchar_t* pszDestination, std::size_t nCapacity,
               const wchar_t* pszSource) {
    g_handler.Get().Install();
    return Report(wcscat_s(pszDestination, nCapacity, pszSource), pszSourceFile, nLine, pszDestination);
}

void QelSecureInvalidParameterHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) {
    QEL_PRINT(L"QelSecureInvalidParameterHandler : ERROR");
}
