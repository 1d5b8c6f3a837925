// One line of the diagnostic log while it is put together.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>

#include <windows.h>

#include "Common/Src/NumberText.h"

// Lines of the usual length are built on the stack in one pass: the log of an enumeration has tens of lines for every
// unit of storage. Longer ones move to the heap. A piece that cannot be formatted adds nothing.
//
// The text is the same, to the byte, as the run time's formatted output makes it.
class CQelLogLine {
  public:
    CQelLogLine() = default;
    CQelLogLine(const CQelLogLine&) = delete;
    CQelLogLine& operator=(const CQelLogLine&) = delete;

    void Append(std::wstring_view text);
    // Decimal, with zeros before it up to that many digits.
    template <int DIGITS = 1> void AppendDecimal(LONG64 llValue) {
        NumberRoom szRoom;
        Append(DecimalText<DIGITS>(szRoom, llValue));
    }
    void AppendHexadecimal(ULONG64 ullValue, Case eCase) {
        NumberRoom szRoom;
        Append(HexadecimalText(szRoom, ullValue, eCase));
    }
    void AppendFormatV(const wchar_t* pszFormat, va_list args);

    // The text, terminated; valid until more is appended.
    const wchar_t* Text();
    // The bytes that a text-mode stream holds for the line: in the system's code page, with its replacement character
    // for what it lacks, and CR LF for every LF. Wide output of the run time would drop the rest of the line at a
    // character that is lacking. Valid until the line changes.
    std::string_view Bytes();

  private:
    static constexpr std::size_t CAPACITY = 512;

    bool AppendPlain(const wchar_t* pszFormat, va_list args);

    wchar_t m_szShort[CAPACITY + 1];
    std::size_t m_nShort = 0;
    std::wstring m_strLong; // takes over when it is not empty
    char m_szBytes[CAPACITY + 1];
    std::string m_strBytes;
};

// In the header, because every line starts with some fifteen pieces of known length.

inline void CQelLogLine::Append(std::wstring_view text) {
    if (m_strLong.empty() && text.size() <= CAPACITY - m_nShort) {
        std::copy(text.begin(), text.end(), m_szShort + m_nShort);
        m_nShort += text.size();
        return;
    }
    if (m_strLong.empty())
        m_strLong.assign(m_szShort, m_nShort);
    m_strLong.append(text);
}
