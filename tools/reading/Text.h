// Text conversions: the agent speaks UTF-16, the program's output is UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <windows.h>

namespace reading {

// A lone surrogate becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// The text with its control characters as \xNN, so that no name can break a line or steer a terminal.
std::string Printable(std::string_view utf8);

// The system's text of a Win32 error with its number: "Module not found. (error 126)".
std::string SystemMessage(DWORD error);

// The text with %1 replaced by the argument.
std::string Insert(std::string_view text, std::string_view argument);

// The path that a file or folder has from the root.
std::wstring FullPath(const std::wstring& path);
// The file in the folder, whether the folder's text ends in a backslash or not.
std::wstring InFolder(std::wstring folder, std::wstring_view file);

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

} // namespace reading
