#include "Common/Src/LogLine.h"

#include <algorithm>

#include "FcoeAgent/QelString.h"

// Almost all messages have nothing but %s, %d, %lld and %llX. False, and nothing appended, for any other, and for a
// null text.
bool CQelLogLine::AppendPlain(const wchar_t* pszFormat, va_list args) {
    const std::size_t nBefore = m_text.Size();
    for (const wchar_t* p = pszFormat;;) {
        const wchar_t* const pFirst = p;
        while (*p != L'%' && *p != L'\0')
            ++p;
        Append({pFirst, static_cast<std::size_t>(p - pFirst)});
        if (*p == L'\0')
            return true;
        if (p[1] == L's') {
            const wchar_t* const pszText = va_arg(args, const wchar_t*);
            if (!pszText)
                break;
            Append(pszText);
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
            break;
        }
    }
    m_text.Resize(nBefore);
    return false;
}

void CQelLogLine::AppendFormatV(const wchar_t* pszFormat, va_list args) {
    if (!pszFormat)
        return;
    va_list argsAgain;
    va_copy(argsAgain, args);
    const bool bDone = AppendPlain(pszFormat, argsAgain);
    va_end(argsAgain);
    if (bDone)
        return;
    CQelString strText;
    strText.FormatString(pszFormat, args);
    Append(strText);
}

std::string_view CQelLogLine::Bytes() {
    const std::wstring_view text = m_text.View();
    m_bytes.Resize(text.size() + 1);
    char* pBytes = m_bytes.Data();
    // Narrowed and looked at in one pass, with nothing to leave it early.
    unsigned uAll = 0;
    std::size_t nLineEnds = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        uAll |= text[i];
        nLineEnds += text[i] == L'\n';
        pBytes[i] = static_cast<char>(text[i]);
    }
    const std::size_t nLastEnd = text.ends_with(L'\n') ? 1 : 0;
    if (uAll < 0x80 && nLineEnds == nLastEnd) { // ASCII is the same in every code page
        if (nLastEnd != 0) {
            pBytes[text.size() - 1] = '\r';
            pBytes[text.size()] = '\n';
        }
        m_bytes.Resize(text.size() + nLastEnd);
        return m_bytes.View();
    }

    const int nWide = static_cast<int>(text.size());
    const int nBytes = CQelString::QelWideCharToMultiByte(CP_ACP, 0, text.data(), nWide, nullptr, 0, nullptr, nullptr);
    m_bytes.Resize(nBytes);
    pBytes = m_bytes.Data();
    CQelString::QelWideCharToMultiByte(CP_ACP, 0, text.data(), nWide, pBytes, nBytes, nullptr, nullptr);
    m_bytes.Resize(nBytes + std::count(pBytes, pBytes + nBytes, '\n'));
    pBytes = m_bytes.Data();
    // From the end, where the room for each CR is.
    for (char *pFrom = pBytes + nBytes, *pTo = pBytes + m_bytes.Size(); pFrom != pTo;) {
        *--pTo = *--pFrom;
        if (*pTo == '\n')
            *--pTo = '\r';
    }
    return m_bytes.View();
}
