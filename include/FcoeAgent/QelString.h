// CQelString, the suite's wide string.
#pragma once

#include "FcoeAgent/QelAbi.h" // before all that another compiler stumbles over

#include <cstdarg>
#include <string>
#include <vector>

#include <windows.h>

#include "FcoeAgent/QelExport.h"

// A UTF-16 string: the standard wide string with the suite's conveniences, and not a byte more.
//
// The class has two halves. The members marked FCOEAGNT_API are compiled into every module that uses the class
// (Common/Src/QelString.cpp); those marked QELCOLIB_API come from the common library QelColib.dll.
//
// Threading: as the standard string; an object belongs to one thread unless all threads only read it.
// Errors: memory exhaustion raises std::bad_alloc; everything else is reported by the results described below.
class CQelString : public std::wstring {
  public:
    FCOEAGNT_API CQelString();
    // As assignment from an integer.
    FCOEAGNT_API CQelString(const LONG& lValue);
    FCOEAGNT_API CQelString(const CQelString& strOther);
    CQelString(CQelString&& strOther) noexcept = default;
    FCOEAGNT_API ~CQelString();

    QELCOLIB_API CQelString(const wchar_t* pszText);
    QELCOLIB_API CQelString(wchar_t* pszText);

    // The decimal text of the number, when it fits 9 characters, sign included; the empty string when it does not.
    // Hosts rely on that limit.
    FCOEAGNT_API CQelString& operator=(LONG lValue);
    FCOEAGNT_API CQelString& operator=(const CQelString& strOther);
    FCOEAGNT_API CQelString& operator=(const std::wstring& strOther);
    FCOEAGNT_API CQelString& operator=(const wchar_t* pszText);
    CQelString& operator=(CQelString&& strOther) noexcept = default;

    // The text, terminated; valid until the string changes.
    FCOEAGNT_API operator const wchar_t*() const;

    FCOEAGNT_API void ClearString();
    // A new heap string with the same text; the caller owns it and deletes it.
    FCOEAGNT_API CQelString* Copy() const;
    // Non-zero when the length is 0.
    FCOEAGNT_API int IsEmpty() const;
    // In characters, without the terminator.
    FCOEAGNT_API ULONG64 Length() const;

    // printf-style formatting with the Windows conversions (%s is a wide string, %S a narrow one, %I64d a 64-bit
    // number); replaces the text. There is no length limit. Returns the number of characters, or a negative number on
    // failure; the string is then unchanged.
    // A va_list is a pointer to char: with one argument only, a pointer to char or a literal 0 is taken for a list, and
    // is followed. Cast such an argument, or give the format a second one.
    QELCOLIB_API int FormatString(const wchar_t* pszFormat, ...);
    QELCOLIB_API int FormatString(const wchar_t* pszFormat, va_list args);

    // WideCharToMultiByte and MultiByteToWideChar with the same arguments and results. Lengths and sizes are in
    // characters of the respective side; a length of -1 takes a terminated source and counts the terminator.
    // Return 0 on failure.
    QELCOLIB_API static int QelWideCharToMultiByte(UINT uCodePage, DWORD dwFlags, const wchar_t* pszSource, int nSource,
                                                   char* pszDestination, int nDestination, const char* pszDefault,
                                                   BOOL* pbUsedDefault);
    QELCOLIB_API static int QelMultiByteToWideChar(UINT uCodePage, DWORD dwFlags, const char* pszSource, int nSource,
                                                   wchar_t* pszDestination, int nDestination);

    // Exact, case-sensitive comparison; a null pointer equals nothing.
    QELCOLIB_API bool operator==(const CQelString& strOther) const;
    QELCOLIB_API bool operator==(const wchar_t* pszText) const;
    // Ordinal order.
    QELCOLIB_API bool operator<(const CQelString& strOther) const;
    QELCOLIB_API CQelString operator+(const CQelString& strOther) const;
    // Equality without regard to case.
    QELCOLIB_API bool CompareI(CQelString strOther) const;
    QELCOLIB_API void MakeLower();
    QELCOLIB_API void MakeUpper();
    // Appends the fields between the delimiters to the vector, empty fields included (the empty string is one empty
    // field). Returns true when the delimiter occurred.
    QELCOLIB_API bool Split(char cDelimiter, std::vector<CQelString>& vecFields) const;
    // Replaces the text by a common resource string of QelColib.dll. Returns its length in characters; 0 when there is
    // no such string, and the text is then empty.
    QELCOLIB_API int LoadCommonResString(UINT uId);
};

static_assert(sizeof(CQelString) == sizeof(std::wstring), "the string adds no data");
