#include "model/NumberFormat.h"

#include <iterator>

#include "Common/Src/NumberText.h"

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
        NumberRoom szRoom;
        const std::wstring_view digits = DecimalText(szRoom, llValue);
        strText.reserve(m_strBefore.size() + digits.size() + m_strAfter.size());
        strText.append(m_strBefore).append(digits).append(m_strAfter);
    } else {
        strText.FormatString(m_strFormat, llValue);
    }
    return strText;
}
