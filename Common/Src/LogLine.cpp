#include "Common/Src/LogLine.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "FcoeAgent/QelString.h"

void CQelLogLine::Append(std::wstring_view text) {
    if (m_strLong.empty() && text.size() <= CAPACITY - m_nShort) {
        std::copy(text.begin(), text.end(), m_szShort + m_nShort);
        m_nShort += text.size();
        return;
    }
    if (m_strLong.empty())
        m_strLong.assign(m_szShort, m_nShort);
    m_strLong.append(text);
}

void CQelLogLine::AppendDecimal(LONG64 llValue, int nDigits) {
    wchar_t szDigits[24];
    wchar_t* const pEnd = std::end(szDigits);
    wchar_t* p = pEnd;
    ULONG64 ullRest = llValue < 0 ? 0 - static_cast<ULONG64>(llValue) : static_cast<ULONG64>(llValue);
    for (; ullRest != 0 || nDigits > 0; ullRest /= 10, --nDigits)
        *--p = static_cast<wchar_t>(L'0' + ullRest % 10);
    if (llValue < 0)
        *--p = L'-';
    Append({p, static_cast<std::size_t>(pEnd - p)});
}

void CQelLogLine::AppendHex(ULONG64 ullValue, const wchar_t* pszDigits) {
    wchar_t szDigits[16];
    wchar_t* const pEnd = std::end(szDigits);
    wchar_t* p = pEnd;
    do
        *--p = pszDigits[ullValue & 15];
    while (ullValue >>= 4);
    Append({p, static_cast<std::size_t>(pEnd - p)});
}

// Almost all messages are short and have nothing but %s, %d and %lld. False, and nothing appended, for any other, and
// for a null text.
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
    const bool bShort = m_strLong.empty();
    const wchar_t* const pchText = bShort ? m_szShort : m_strLong.data();
    const std::size_t nLength = bShort ? m_nShort : m_strLong.size();
    // ASCII is the same in every code page.
    if (bShort && std::all_of(pchText, pchText + nLength, [](wchar_t ch) { return ch < 0x80; })) {
        std::transform(pchText, pchText + nLength, m_szBytes, [](wchar_t ch) { return static_cast<char>(ch); });
        return {m_szBytes, nLength};
    }
    const int nWide = static_cast<int>(nLength);
    const int nBytes = CQelString::QelWideCharToMultiByte(CP_ACP, 0, pchText, nWide, nullptr, 0, nullptr, nullptr);
    m_strBytes.resize(nBytes);
    CQelString::QelWideCharToMultiByte(CP_ACP, 0, pchText, nWide, m_strBytes.data(), nBytes, nullptr, nullptr);
    return m_strBytes;
}
