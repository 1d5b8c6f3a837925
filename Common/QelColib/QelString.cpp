// The half of CQelString that the common library provides to all modules.
#include "FcoeAgent/QelString.h"

#include <cwchar>
#include <iterator>

namespace {

// The module that this code, and the string table with it, lies in.
HMODULE ThisModule() {
    static const char cAnchor = 0;
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&cAnchor), &hModule);
    return hModule;
}

// Letter case by the rules of no particular language, one character for one.
void MapCase(std::wstring& strText, DWORD dwMapFlags) {
    const int nLength = static_cast<int>(strText.size());
    if (nLength > 0)
        LCMapStringEx(LOCALE_NAME_INVARIANT, dwMapFlags, strText.data(), nLength, strText.data(), nLength, nullptr,
                      nullptr, 0);
}

} // namespace

CQelString::CQelString(const wchar_t* pszText) : std::wstring(pszText ? pszText : L"") {}

CQelString::CQelString(wchar_t* pszText) : CQelString(static_cast<const wchar_t*>(pszText)) {}

int CQelString::FormatString(const wchar_t* pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const int nResult = FormatString(pszFormat, args);
    va_end(args);
    return nResult;
}

int CQelString::FormatString(const wchar_t* pszFormat, va_list args) {
    if (!pszFormat)
        return -1;
    // Formatted aside: an argument may be this string's own text. Most texts are short: they are not measured first.
    wchar_t szShort[256];
    va_list argsAgain;
    va_copy(argsAgain, args);
    const int nShort = _vsnwprintf(szShort, std::size(szShort), pszFormat, argsAgain);
    va_end(argsAgain);
    if (nShort >= 0) {
        std::wstring(szShort, nShort).swap(*this);
        return nShort;
    }
    va_copy(argsAgain, args);
    const int nLength = _vscwprintf(pszFormat, argsAgain);
    va_end(argsAgain);
    if (nLength < 0)
        return nLength;
    std::wstring strText(nLength, L'\0');
    const int nWritten = _vsnwprintf(strText.data(), strText.size() + 1, pszFormat, args);
    if (nWritten < 0)
        return nWritten;
    strText.resize(nWritten);
    swap(strText);
    return nWritten;
}

int CQelString::QelWideCharToMultiByte(UINT uCodePage, DWORD dwFlags, const wchar_t* pszSource, int nSource,
                                       char* pszDestination, int nDestination, const char* pszDefault,
                                       BOOL* pbUsedDefault) {
    return WideCharToMultiByte(uCodePage, dwFlags, pszSource, nSource, pszDestination, nDestination, pszDefault,
                               pbUsedDefault);
}

int CQelString::QelMultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* pszSource, int nSource,
                                       wchar_t* pszDestination, int nDestination) {
    return MultiByteToWideChar(uCodePage, dwFlags, pszSource, nSource, pszDestination, nDestination);
}

bool CQelString::operator==(const CQelString& strOther) const {
    return compare(strOther) == 0;
}

bool CQelString::operator==(const wchar_t* pszText) const {
    return pszText && compare(pszText) == 0;
}

bool CQelString::operator<(const CQelString& strOther) const {
    return compare(strOther) < 0;
}

CQelString CQelString::operator+(const CQelString& strOther) const {
    CQelString strSum(*this);
    strSum.append(strOther);
    return strSum;
}

bool CQelString::CompareI(CQelString strOther) const {
    return size() == strOther.size() && CompareStringOrdinal(data(), static_cast<int>(size()), strOther.data(),
                                                             static_cast<int>(size()), TRUE) == CSTR_EQUAL;
}

void CQelString::MakeLower() {
    MapCase(*this, LCMAP_LOWERCASE);
}

void CQelString::MakeUpper() {
    MapCase(*this, LCMAP_UPPERCASE);
}

bool CQelString::Split(char cDelimiter, std::vector<CQelString>& vecFields) const {
    const wchar_t wcDelimiter = static_cast<unsigned char>(cDelimiter);
    size_type start = 0;
    for (size_type end; (end = find(wcDelimiter, start)) != npos; start = end + 1)
        vecFields.emplace_back().assign(*this, start, end - start);
    vecFields.emplace_back().assign(*this, start);
    return start != 0;
}

int CQelString::LoadCommonResString(UINT uId) {
    // With a size of 0 the system hands out the text where it lies, not terminated.
    const wchar_t* pszText = nullptr;
    const int nLength = LoadStringW(ThisModule(), uId, reinterpret_cast<wchar_t*>(&pszText), 0);
    if (nLength <= 0) {
        clear();
        return 0;
    }
    assign(pszText, nLength);
    return nLength;
}
