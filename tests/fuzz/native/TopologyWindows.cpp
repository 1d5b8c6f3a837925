// Windows for the sources of simulator/topology, and Text.cpp's part of them but for its files. The code page is UTF-8.
#include <windows.h>

#include "simulator/topology/Text.h"
#include "tests/fuzz/native/Neighbours.h"

DWORD GetEnvironmentVariableW(const wchar_t*, wchar_t*, DWORD) {
    return 0;
}

LONG RegGetValueW(HKEY, const wchar_t*, const wchar_t*, DWORD, DWORD*, void*, DWORD*) {
    return ERROR_FILE_NOT_FOUND;
}

void SetLastError(DWORD) {}

namespace sim {

std::wstring Wide(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    std::wstring text(MultiByteToWideChar(CP_ACP, 0, utf8.data(), length, nullptr, 0), L'\0');
    MultiByteToWideChar(CP_ACP, 0, utf8.data(), length, text.data(), static_cast<int>(text.size()));
    return text;
}

std::string Utf8(std::wstring_view wide) {
    const int length = static_cast<int>(wide.size());
    std::string text(WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, text.data(), static_cast<int>(text.size()), nullptr, nullptr);
    return text;
}

std::string Ansi(std::string_view utf8) {
    return std::string(utf8);
}

bool EqualNoCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

} // namespace sim
