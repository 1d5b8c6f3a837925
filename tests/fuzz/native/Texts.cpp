// Code pages, letter case and formatted text as Windows has them.
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "tests/fuzz/Check.h"
#include "tests/fuzz/native/Neighbours.h"

namespace {

constexpr UINT UTF8 = 65001;
constexpr wchar_t REPLACEMENT = 0xFFFD;

UINT g_uCodePage = 1252;

// Code page 1252 from 0x80 to 0x9F; 0 for the five bytes that are no character.
constexpr wchar_t WINDOWS_1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

// One character of UTF-8 at p, which is not the end; moves p behind it. REPLACEMENT and bValid false when it is none.
char32_t NextOfUtf8(const char*& p, const char* pEnd, bool& bValid) {
    const auto byFirst = static_cast<unsigned char>(*p++);
    if (byFirst < 0x80)
        return byFirst;
    const int nMore = byFirst >= 0xF0 ? 3 : byFirst >= 0xE0 ? 2 : 1;
    char32_t ch = byFirst & (0x3F >> nMore);
    const char32_t chLeast = nMore == 3 ? 0x10000 : nMore == 2 ? 0x800 : 0x80;
    bool bGood = byFirst >= 0xC2 && byFirst <= 0xF4;
    for (int i = 0; bGood && i < nMore; ++i) {
        bGood = p != pEnd && (static_cast<unsigned char>(*p) & 0xC0) == 0x80;
        if (bGood)
            ch = ch << 6 | (static_cast<unsigned char>(*p++) & 0x3F);
    }
    if (bGood && ch >= chLeast && ch <= 0x10FFFF && (ch < 0xD800 || ch > 0xDFFF))
        return ch;
    bValid = false;
    return REPLACEMENT;
}

std::wstring Widen(const char* p, const char* pEnd, bool& bValid) {
    std::wstring strWide;
    while (p != pEnd) {
        if (g_uCodePage == UTF8) {
            const char32_t ch = NextOfUtf8(p, pEnd, bValid);
            if (ch >= 0x10000) {
                strWide.push_back(static_cast<wchar_t>(0xD7C0 + (ch >> 10)));
                strWide.push_back(static_cast<wchar_t>(0xDC00 + (ch & 0x3FF)));
            } else {
                strWide.push_back(static_cast<wchar_t>(ch));
            }
        } else {
            const auto by = static_cast<unsigned char>(*p++);
            wchar_t ch = by >= 0x80 && by < 0xA0 ? WINDOWS_1252[by - 0x80] : by;
            if (ch == 0 && by != 0) {
                bValid = false;
                ch = by;
            }
            strWide.push_back(ch);
        }
    }
    return strWide;
}

std::string Narrow(const wchar_t* p, const wchar_t* pEnd) {
    std::string strNarrow;
    while (p != pEnd) {
        char32_t ch = static_cast<char32_t>(*p++) & 0xFFFF;
        if (g_uCodePage != UTF8) {
            char chNarrow = ch < 0x80 || (ch >= 0xA0 && ch < 0x100) ? static_cast<char>(ch) : '?';
            for (int i = 0; i < 32; ++i)
                if (ch >= 0x80 && ch == static_cast<char32_t>(WINDOWS_1252[i]))
                    chNarrow = static_cast<char>(0x80 + i);
            strNarrow.push_back(chNarrow);
            continue;
        }
        if (ch >= 0xD800 && ch < 0xDC00 && p != pEnd && *p >= 0xDC00 && *p < 0xE000)
            ch = 0x10000 + ((ch - 0xD800) << 10) + (static_cast<char32_t>(*p++) - 0xDC00);
        else if (ch >= 0xD800 && ch < 0xE000)
            ch = REPLACEMENT;
        if (ch < 0x80) {
            strNarrow.push_back(static_cast<char>(ch));
            continue;
        }
        const int nMore = ch >= 0x10000 ? 3 : ch >= 0x800 ? 2 : 1;
        strNarrow.push_back(static_cast<char>((0xF00 >> nMore) | ch >> 6 * nMore));
        for (int i = nMore - 1; i >= 0; --i)
            strNarrow.push_back(static_cast<char>(0x80 | (ch >> 6 * i & 0x3F)));
    }
    return strNarrow;
}

// What a conversion leaves: all of it, or 0 with as much as there is room for.
template <class Text, class Char> int Deliver(const Text& text, Char* pDestination, int nDestination) {
    const int nLength = static_cast<int>(text.size());
    if (nDestination == 0)
        return nLength;
    const int nCopied = nLength < nDestination ? nLength : nDestination;
    std::copy_n(text.data(), nCopied, pDestination);
    if (nLength > nDestination) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    return nLength;
}

wchar_t Upper(wchar_t ch) {
    return (ch >= L'a' && ch <= L'z') || (ch >= 0xE0 && ch <= 0xFE && ch != 0xF7) ? ch - 0x20 : ch;
}

wchar_t Lower(wchar_t ch) {
    return (ch >= L'A' && ch <= L'Z') || (ch >= 0xC0 && ch <= 0xDE && ch != 0xD7) ? ch + 0x20 : ch;
}

// The format with the conversions of this system: %s of wide text is %ls, %S is %s, I64 is ll.
std::wstring NativeFormat(const wchar_t* p) {
    std::wstring strFormat;
    while (*p != L'\0') {
        strFormat.push_back(*p);
        if (*p++ != L'%')
            continue;
        while (*p != L'\0' && std::wcschr(L"-+ #0123456789.*", *p))
            strFormat.push_back(*p++);
        if (std::wcsncmp(p, L"I64", 3) == 0) {
            strFormat += L"ll";
            p += 3;
        }
        if (*p == L's' || *p == L'c')
            strFormat.push_back(L'l');
        if (*p == L'S')
            strFormat.push_back(L's');
        else if (*p != L'\0')
            strFormat.push_back(*p);
        if (*p != L'\0')
            ++p;
    }
    return strFormat;
}

bool Format(const wchar_t* pszFormat, va_list args, std::wstring& strText) {
    const std::wstring strFormat = NativeFormat(pszFormat);
    for (std::size_t nRoom = 256; nRoom <= 1u << 20; nRoom *= 4) {
        strText.resize(nRoom);
        va_list again;
        va_copy(again, args);
        const int nLength = std::vswprintf(strText.data(), nRoom, strFormat.c_str(), again);
        va_end(again);
        if (nLength >= 0) {
            strText.resize(nLength);
            return true;
        }
    }
    return false;
}

} // namespace

void native::SetCodePage(UINT uCodePage) {
    g_uCodePage = uCodePage;
}

int MultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* pszSource, int nSource, wchar_t* pszDestination,
                        int nDestination) {
    FUZZ_CHECK(uCodePage == CP_ACP && nSource >= -1 && nDestination >= 0);
    if (nSource == 0)
        return 0;
    const std::size_t nLength = nSource < 0 ? std::strlen(pszSource) + 1 : static_cast<std::size_t>(nSource);
    bool bValid = true;
    const std::wstring strWide = Widen(pszSource, pszSource + nLength, bValid);
    if (!bValid && (dwFlags & MB_ERR_INVALID_CHARS)) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return 0;
    }
    return Deliver(strWide, pszDestination, nDestination);
}

int WideCharToMultiByte(UINT uCodePage, DWORD, const wchar_t* pszSource, int nSource, char* pszDestination,
                        int nDestination, const char*, BOOL*) {
    FUZZ_CHECK(uCodePage == CP_ACP && nSource >= -1 && nDestination >= 0);
    if (nSource == 0)
        return 0;
    const std::size_t nLength = nSource < 0 ? std::wcslen(pszSource) + 1 : static_cast<std::size_t>(nSource);
    return Deliver(Narrow(pszSource, pszSource + nLength), pszDestination, nDestination);
}

int LCMapStringEx(const wchar_t*, DWORD dwFlags, const wchar_t* pszSource, int nSource, wchar_t* pszDestination,
                  int nDestination, void*, void*, int) {
    FUZZ_CHECK(nSource <= nDestination);
    for (int i = 0; i < nSource; ++i)
        pszDestination[i] = dwFlags & LCMAP_UPPERCASE ? Upper(pszSource[i]) : Lower(pszSource[i]);
    return nSource;
}

wchar_t* CharUpperW(wchar_t* pszText) {
    for (wchar_t* p = pszText; *p != L'\0'; ++p)
        *p = Upper(*p);
    return pszText;
}

int CompareStringOrdinal(const wchar_t* pszOne, int nOne, const wchar_t* pszOther, int nOther, BOOL bIgnoreCase) {
    for (int i = 0; i < nOne && i < nOther; ++i) {
        const wchar_t chOne = bIgnoreCase ? Upper(pszOne[i]) : pszOne[i];
        const wchar_t chOther = bIgnoreCase ? Upper(pszOther[i]) : pszOther[i];
        if (chOne != chOther)
            return chOne < chOther ? CSTR_EQUAL - 1 : CSTR_EQUAL + 1;
    }
    return nOne == nOther ? CSTR_EQUAL : nOne < nOther ? CSTR_EQUAL - 1 : CSTR_EQUAL + 1;
}

int _wcsicmp(const wchar_t* pszOne, const wchar_t* pszOther) {
    for (; *pszOne != L'\0' && Lower(*pszOne) == Lower(*pszOther); ++pszOne, ++pszOther)
        ;
    return Lower(*pszOne) - Lower(*pszOther);
}

wchar_t* _i64tow(LONG64 llValue, wchar_t* pszBuffer, int nRadix) {
    FUZZ_CHECK(nRadix == 10);
    const std::wstring strDigits = std::to_wstring(llValue);
    return std::wcscpy(pszBuffer, strDigits.c_str());
}

int _itow_s(int nValue, wchar_t* pszBuffer, std::size_t nSize, int nRadix) {
    FUZZ_CHECK(nRadix == 10);
    return wcscpy_s(pszBuffer, nSize, std::to_wstring(nValue).c_str());
}

int _vsnwprintf(wchar_t* pszBuffer, std::size_t nSize, const wchar_t* pszFormat, va_list args) {
    std::wstring strText;
    if (!Format(pszFormat, args, strText))
        return -1;
    // A text that fits but for its terminator is written without one.
    std::copy_n(strText.c_str(), std::min(nSize, strText.size() + 1), pszBuffer);
    return strText.size() <= nSize ? static_cast<int>(strText.size()) : -1;
}

int _vscwprintf(const wchar_t* pszFormat, va_list args) {
    std::wstring strText;
    return Format(pszFormat, args, strText) ? static_cast<int>(strText.size()) : -1;
}

int _vsnwprintf_s(wchar_t* pszBuffer, std::size_t nSize, std::size_t nMaximum, const wchar_t* pszFormat, va_list args) {
    FUZZ_CHECK(nMaximum < nSize);
    std::wstring strText;
    if (!Format(pszFormat, args, strText))
        strText.clear();
    const std::size_t nCopied = std::min(nMaximum, strText.size());
    std::copy_n(strText.data(), nCopied, pszBuffer);
    pszBuffer[nCopied] = L'\0';
    return nCopied == strText.size() ? static_cast<int>(nCopied) : -1;
}

int wcscpy_s(wchar_t* pszDestination, std::size_t nSize, const wchar_t* pszSource) {
    if (!pszDestination || nSize == 0)
        return EINVAL;
    *pszDestination = L'\0';
    if (!pszSource)
        return EINVAL;
    if (std::wcslen(pszSource) >= nSize)
        return ERANGE;
    std::wcscpy(pszDestination, pszSource);
    return 0;
}

int wcscat_s(wchar_t* pszDestination, std::size_t nSize, const wchar_t* pszSource) {
    if (!pszDestination || nSize == 0)
        return EINVAL;
    const std::size_t nLength = wcsnlen(pszDestination, nSize);
    if (nLength == nSize) {
        *pszDestination = L'\0';
        return EINVAL;
    }
    const int nResult = wcscpy_s(pszDestination + nLength, nSize - nLength, pszSource);
    if (nResult != 0)
        *pszDestination = L'\0';
    return nResult;
}
