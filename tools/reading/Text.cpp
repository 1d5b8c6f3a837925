#include "tools/reading/Text.h"

#include <algorithm>

#include <fmt/format.h>

namespace reading {

std::string ToUtf8(std::wstring_view text) {
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    std::string utf8(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
    return utf8;
}

std::wstring FromUtf8(std::string_view text) {
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)),
                      L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string Printable(std::string_view utf8) {
    std::string shown;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        // U+0080 to U+009F are control characters, too; in UTF-8 they are C2 80 to C2 9F.
        const bool high = byte == 0xC2 && i + 1 < utf8.size() && static_cast<unsigned char>(utf8[i + 1]) < 0xA0;
        if (byte < 0x20 || byte == 0x7F)
            shown += fmt::format("\\x{:02X}", byte);
        else if (high)
            shown += fmt::format("\\x{:02X}", static_cast<unsigned char>(utf8[++i]));
        else
            shown += utf8[i];
    }
    return shown;
}

std::string SystemMessage(DWORD error) {
    wchar_t buffer[512];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                        buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
    std::wstring_view text(buffer, length);
    while (!text.empty() && text.back() <= L' ')
        text.remove_suffix(1);
    return text.empty() ? fmt::format("error {}", error) : fmt::format("{} (error {})", ToUtf8(text), error);
}

std::string Insert(std::string_view text, std::string_view argument) {
    std::string filled(text);
    if (const auto at = filled.find("%1"); at != std::string::npos)
        filled.replace(at, 2, argument);
    return filled;
}

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : full;
}

std::wstring InFolder(std::wstring folder, std::wstring_view file) {
    if (!folder.ends_with(L'\\'))
        folder += L'\\';
    folder += file;
    return folder;
}

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

} // namespace reading
