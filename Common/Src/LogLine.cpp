#include "Common/Src/LogLine.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "FcoeAgent/QelString.h"

// Almost all messages are short and have nothing but %s, %d, %lld and %llX. False, and nothing appended, for any other,
// and for a null text.
bool CQelLogLine::AppendPlain(const wchar_t* pszFormat, va_list args) {
    if (!m_strLong.empty())
        return false;
    const std::size_t nBefore = m_nShort;
    bool bPlain = true;
    const auto Put = [&](const wchar_t* pszText, wchar_t chEnd) {
        const wchar_t* p = pszText;
        for (; *p != chEnd && *p != L'\0' && m_nShort < CAPACITY; ++p)
            m_szShort[m_nShort++] = *p;
        bPlain = bPlain && m_nShort < CAPACITY;
        return p;
    };
    for (const wchar_t* p = Put(pszFormat, L'%'); bPlain && *p != L'\0'; p = Put(p, L'%')) {
        if (p[1] == L's') {
            if (const wchar_t* const pszText = va_arg(args, const wchar_t*))
                Put(pszText, L'\0');
            else
                bPlain = false;
            p += 2;
        } else if (p[1] == L'd') {
            AppendDecimal(va_arg(args, int));
            p += 2;
        } else if (p[1] == L'l' && p[2] == L'l' && p[3] == L'd') {
            AppendDecimal(va_arg(args, LONG64));
            p += 4;
        } else if (p[1] == L'l' && p[2] == L'l' && p[3] == L'X') {
            AppendHexadecimal(va_arg(args, ULONG64), Case::Upper);
            p += 4;
        } else {
            bPlain = false;
        }
        bPlain = bPlain && m_strLong.empty();
        if (!bPlain)
            break;
    }
    if (!bPlain) {
        m_nShort = nBefore;
        m_strLong.clear();
    }
    return bPlain;
}

void CQelLogLine::AppendFormatV(const wchar_t* pszFormat, va_list args) {
    if (!pszFormat)
        return;
    va_list again;
    va_copy(again, args);
    const bool bDone = AppendPlain(pszFormat, again);
    va_end(again);
    if (bDone)
        return;
    CQelString strText;
    strText.FormatString(pszFormat, args);
    Append(strText);
}

const wchar_t* CQelLogLine::Text() {
    if (!m_strLong.empty())
        return m_strLong.c_str();
    m_szShort[m_nShort] = L'\0';
    return m_szShort;
}

std::string_view CQelLogLine::Bytes() {
    if (m_strLong.empty()) {
        // Narrowed and looked at in one pass, with nothing to leave it early.
        unsigned uAll = 0;
        std::size_t nLineEnds = 0;
        for (std::size_t i = 0; i < m_nShort; ++i) {
            uAll |= m_szShort[i];
            nLineEnds += m_szShort[i] == L'\n';
            m_szBytes[i] = static_cast<char>(m_szShort[i]);
        }
        const bool bEnded = m_nShort != 0 && m_szShort[m_nShort - 1] == L'\n';
        if (uAll < 0x80 && nLineEnds == bEnded) { // ASCII is the same in every code page
            if (!bEnded)
                return {m_szBytes, m_nShort};
            m_szBytes[m_nShort - 1] = '\r';
            m_szBytes[m_nShort] = '\n';
            return {m_szBytes, m_nShort + 1};
        }
    }
    const std::wstring_view text = m_strLong.empty() ? std::wstring_view(m_szShort, m_nShort) : m_strLong;
    const int nWide = static_cast<int>(text.size());
    const int nBytes = CQelString::QelWideCharToMultiByte(CP_ACP, 0, text.data(), nWide, nullptr, 0, nullptr, nullptr);
    m_strBytes.resize(nBytes);
    CQelString::QelWideCharToMultiByte(CP_ACP, 0, text.data(), nWide, m_strBytes.data(), nBytes, nullptr, nullptr);
    for (std::size_t n = 0; (n = m_strBytes.find('\n', n)) != std::string::npos; n += 2)
        m_strBytes.insert(n, 1, '\r');
    return m_strBytes;
}
