#include "simulator/topology/Text.h"

#include <system_error>

#include <windows.h>

namespace sim {
namespace {

std::string Narrow(std::wstring_view wide, UINT codePage) {
    const int length = static_cast<int>(wide.size());
    std::string text(WideCharToMultiByte(codePage, 0, wide.data(), length, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(codePage, 0, wide.data(), length, text.data(), static_cast<int>(text.size()), nullptr, nullptr);
    return text;
}

} // namespace

std::wstring Wide(std::string_view utf8) {
    const int length = static_cast<int>(utf8.size());
    std::wstring text(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, text.data(), static_cast<int>(text.size()));
    return text;
}

std::string Utf8(std::wstring_view wide) {
    return Narrow(wide, CP_UTF8);
}

std::string Ansi(std::string_view utf8) {
    return Narrow(Wide(utf8), CP_ACP);
}

bool EqualNoCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::string ReadFile(const std::filesystem::path& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    std::string bytes;
    char block[16384];
    DWORD read = 0;
    while (::ReadFile(file, block, sizeof block, &read, nullptr) && read > 0)
        bytes.append(block, read);
    CloseHandle(file);
    return bytes;
}

void ReplaceWholeFile(const std::filesystem::path& path, std::string_view text) {
    const std::wstring next = path.wstring() + L"." + std::to_wstring(GetCurrentProcessId()) + L".new";
    const HANDLE handle =
        CreateFileW(next.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    bool done = handle != INVALID_HANDLE_VALUE &&
                WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
                written == text.size();
    if (handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
    done = done && MoveFileExW(next.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING);
    if (!done) {
        const DWORD error = GetLastError();
        DeleteFileW(next.c_str());
        throw std::system_error(static_cast<int>(error), std::system_category());
    }
}

} // namespace sim
