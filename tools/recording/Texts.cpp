#include "tools/recording/Texts.h"

#include <charconv>

#include <windows.h>

#include "tools/reading/Text.h"

namespace recording {
namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";

bool IsDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

void Append(std::string& text, std::uint8_t byte) {
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 15];
}

} // namespace

std::string Hex(const Bytes& bytes) {
    std::string text = "hex:";
    text.reserve(text.size() + 2 * bytes.size());
    for (const std::uint8_t byte : bytes)
        Append(text, byte);
    return text;
}

std::string Groups(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty())
            text += ':';
        Append(text, byte);
    }
    return text;
}

std::string WwnText(const HBA_WWN& wwn) {
    return Groups(wwn.wwn);
}

std::optional<Bytes> ParseGroups(std::string_view text, std::size_t count) {
    Bytes bytes;
    while (!text.empty() && bytes.size() < count) {
        if (text.size() < 2 || !IsDigit(text[0]) || !IsDigit(text[1]))
            return std::nullopt;
        std::uint8_t byte = 0;
        std::from_chars(text.data(), text.data() + 2, byte, 16);
        bytes.push_back(byte);
        text.remove_prefix(2);
        if (bytes.size() < count && !text.empty() && !IsDigit(text[0]))
            text.remove_prefix(1);
    }
    return bytes.size() == count && text.empty() ? std::optional(bytes) : std::nullopt;
}

std::string FromAnsi(std::string_view ansi) {
    std::wstring wide(ansi.size(), L'\0'); // no character needs more units than bytes
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()),
                                                             wide.data(), static_cast<int>(wide.size()))));
    return reading::ToUtf8(wide);
}

std::string ToAnsi(std::string_view utf8) {
    const std::wstring wide = reading::FromUtf8(utf8);
    const int length = static_cast<int>(wide.size());
    std::string ansi(
        static_cast<std::size_t>(WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, ansi.data(), static_cast<int>(ansi.size()), nullptr, nullptr);
    return ansi;
}

bool IsAscii(std::string_view text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    return true;
}

bool IsBracedGuid(std::string_view text) {
    constexpr std::string_view SHAPE = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    if (text.size() != SHAPE.size())
        return false;
    for (std::size_t i = 0; i < SHAPE.size(); ++i)
        if (SHAPE[i] == 'x' ? !IsDigit(text[i]) : text[i] != SHAPE[i])
            return false;
    return true;
}

} // namespace recording
