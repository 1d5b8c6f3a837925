#include "model/NumberFormat.h"

#include <cwchar>
#include <iterator>

CQelNumberFormat::CQelNumberFormat(const CQelString& strFormat) : m_strFormat(strFormat), m_bUsual(false) {
    constexpr wchar_t CONVERSION[] = L"%I64d";
    const std::size_t nFirst = strFormat.find(L'%');
    m_bUsual = nFirst != CQelString::npos && strFormat.find(CONVERSION) == nFirst && strFormat.rfind(L'%') == nFirst;
    if (m_bUsual) {
        m_strBefore.assign(strFormat, 0, nFirst);
        m_strAfter.assign(strFormat, nFirst + std::size(CONVERSION) - 1);
    }
}

CQelString CQelNumberFormat::Text(LONG64 llValue) const {
    CQelString strText;
    if (m_bUsual) {
        wchar_t szDigits[24];
        _i64tow(llValue, szDigits, 10);
        const std::size_t nDigits = wcslen(szDigits);
        strText.reserve(m_strBefore.size() + nDigits + m_strAfter.size());
        strText.append(m_strBefore).append(szDigits, nDigits).append(m_strAfter);
    } else {
        strText.FormatString(m_strFormat, llValue);
    }
    return strText;
}
