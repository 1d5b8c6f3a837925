#include "Common/Src/QelSecure.h"

#include <cerrno>
#include <cwchar>

#include "Common/Src/InvalidParameterHandler.h"
#include "FcoeAgent/QelDebug.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelSecure";

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
    const CQelInvalidParameterHandler handler;
    return Report(wcscpy_s(pszDestination, nCapacity, pszSource), pszSourceFile, nLine, pszDestination);
}

int QelSafeCat(const wchar_t* pszSourceFile, int nLine, wchar_t* pszDestination, std::size_t nCapacity,
               const wchar_t* pszSource) {
    const CQelInvalidParameterHandler handler;
    return Report(wcscat_s(pszDestination, nCapacity, pszSource), pszSourceFile, nLine, pszDestination);
}
