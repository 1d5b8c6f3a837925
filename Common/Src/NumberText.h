// Numbers as text, as the run time's formatter writes them, without its cost.
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>

#include <windows.h>

// Room for any number that the functions below write: they fill its end, and yield what they filled.
constexpr int NUMBER_DIGITS = 20;
using NumberRoom = wchar_t[1 + NUMBER_DIGITS];

enum class Case { Lower, Upper };

constexpr wchar_t HexadecimalDigit(unsigned uValue, Case eCase) noexcept {
    return (eCase == Case::Lower ? L"0123456789abcdef" : L"0123456789ABCDEF")[uValue & 15];
}

// Decimal, with zeros before it up to that many digits: "%.*I64d".
template <int DIGITS = 1> constexpr std::wstring_view DecimalText(NumberRoom& szRoom, LONG64 llValue) noexcept {
    static_assert(DIGITS >= 1 && DIGITS <= NUMBER_DIGITS);
    wchar_t* const pEnd = std::end(szRoom);
    wchar_t* p = pEnd;
    ULONG64 ullRest = llValue < 0 ? 0 - static_cast<ULONG64>(llValue) : static_cast<ULONG64>(llValue);
    for (; ullRest != 0 || pEnd - p < DIGITS; ullRest /= 10)
        *--p = static_cast<wchar_t>(L'0' + ullRest % 10);
    if (llValue < 0)
        *--p = L'-';
    return {p, static_cast<std::size_t>(pEnd - p)};
}

// Hexadecimal, with zeros before it up to that many digits: "%.*I64x" or "%.*I64X".
template <int DIGITS = 1>
constexpr std::wstring_view HexadecimalText(NumberRoom& szRoom, ULONG64 ullValue, Case eCase) noexcept {
    static_assert(DIGITS >= 1 && DIGITS <= NUMBER_DIGITS);
    wchar_t* const pEnd = std::end(szRoom);
    wchar_t* p = pEnd;
    for (; ullValue != 0 || pEnd - p < DIGITS; ullValue >>= 4)
        *--p = HexadecimalDigit(static_cast<unsigned>(ullValue & 15), eCase);
    return {p, static_cast<std::size_t>(pEnd - p)};
}
