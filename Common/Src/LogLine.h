// One line of the diagnostic log while it is put together.
#pragma once

#include <cstdarg>
#include <string_view>

#include <windows.h>

#include "Common/Src/NumberText.h"
#include "Common/Src/TextBuffer.h"

// Lines of the usual length are built on the stack in one pass: the log of an enumeration has tens of lines for every
// unit of storage. Longer ones move to the heap. A piece that cannot be formatted adds nothing.
//
// The text is what the run time's formatter makes of the same pieces.
class CQelLogLine {
  public:
    void Append(std::wstring_view text) { m_text.Append(text); }
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
    const wchar_t* Text() { return m_text.Terminated(); }
    // The bytes that a text-mode stream would hold for the line if it lost nothing: in the system's code page, with its
    // replacement character for what it lacks, and CR LF for every LF. Wide output of the run time drops the rest of
    // the line at such a character. Valid until the line changes.
    std::string_view Bytes();

  private:
    static constexpr std::size_t CAPACITY = 512;

    bool AppendPlain(const wchar_t* pszFormat, va_list args);

    CQelTextBuffer<wchar_t, CAPACITY> m_text;
    CQelTextBuffer<char, CAPACITY> m_bytes;
};
