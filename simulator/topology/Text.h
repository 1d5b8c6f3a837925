// Text of the topology (UTF-8) in the encodings that the simulated modules hand out.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sim {

std::wstring Wide(std::string_view utf8);
std::string Utf8(std::wstring_view wide);
// In the system's ANSI code page, as the vendor library's 8-bit texts are.
std::string Ansi(std::string_view utf8);
// Compares as Windows compares names: letter case aside.
bool EqualNoCase(std::wstring_view left, std::wstring_view right);

// The whole of a file. Throws std::system_error.
std::string ReadFile(const std::filesystem::path& path);
// Puts a text in the place of a file or makes one: readers see the old file or the new one, never a part. Throws
// std::system_error; the old one stays then.
void ReplaceWholeFile(const std::filesystem::path& path, std::string_view text);

} // namespace sim
