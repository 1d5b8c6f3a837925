// The half of CQelString that every module compiles for itself.
#include "FcoeAgent/QelString.h"

#include <cstdlib>
#include <iterator>

CQelString::CQelString() = default;

CQelString::CQelString(const LONG& lValue) {
    *this = lValue;
}

CQelString::CQelString(const CQelString& strOther) = default;

CQelString::~CQelString() = default;

CQelString& CQelString::operator=(LONG lValue) {
    // Nine characters and the terminator. What does not fit is sorted out here: _itow_s would take it for an invalid
    // parameter, which ends a process that has no handler for it.
    wchar_t szNumber[10] = {};
    if (lValue > -100000000 && lValue < 1000000000)
        _itow_s(static_cast<int>(lValue), szNumber, std::size(szNumber), 10);
    assign(szNumber);
    return *this;
}

CQelString& CQelString::operator=(const CQelString& strOther) = default;

CQelString& CQelString::operator=(const std::wstring& strOther) {
    assign(strOther);
    return *this;
}

CQelString& CQelString::operator=(const wchar_t* pszText) {
    assign(pszText ? pszText : L"");
    return *this;
}

CQelString::operator const wchar_t*() const {
    return c_str();
}

void CQelString::ClearString() {
    clear();
}

CQelString* CQelString::Copy() const {
    return new CQelString(*this);
}

int CQelString::IsEmpty() const {
    return empty();
}

ULONG64 CQelString::Length() const {
    return size();
}
