// Bounded wide-string copy and append: a bad argument is logged and reported, and never ends the process.
#pragma once

#include <cstddef>

// Copies (appends) a terminated text into a buffer of nCapacity wide characters, terminator included.
// Returns 0; EINVAL (22) for a null pointer, ERANGE (34) when the text does not fit. On failure a non-null destination
// is left empty and a line with the caller's source file and line goes to the log. Any thread.
int QelSafeCopy(const wchar_t* pszSourceFile, int nLine, wchar_t* pszDestination, std::size_t nCapacity,
                const wchar_t* pszSource);
int QelSafeCat(const wchar_t* pszSourceFile, int nLine, wchar_t* pszDestination, std::size_t nCapacity,
               const wchar_t* pszSource);
