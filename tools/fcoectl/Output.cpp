#include "tools/fcoectl/Output.h"

#include <algorithm>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

// In portions, since a console refuses a very long text; a surrogate pair is not torn apart.
[[nodiscard]] bool WriteToConsole(HANDLE console, std::wstring_view text) {
    constexpr std::size_t portion = 8192;
    while (!text.empty()) {
        std::size_t length = std::min(portion, text.size());
        if (length < text.size() && IS_HIGH_SURROGATE(text[length - 1]))
            --length;
        DWORD written = 0;
        if (!WriteConsoleW(console, text.data(), static_cast<DWORD>(length), &written, nullptr) || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

[[nodiscard]] bool WriteTo(DWORD standardHandle, std::string_view text) {
    const HANDLE handle = GetStdHandle(standardHandle);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode))
        return WriteToConsole(handle, FromUtf8(text));
    while (!text.empty()) {
        DWORD written = 0;
        const auto length = static_cast<DWORD>(std::min<std::size_t>(text.size(), 1 << 20));
        if (!WriteFile(handle, text.data(), length, &written, nullptr) || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

bool IsColouredConsole(DWORD standardHandle) {
    const HANDLE handle = GetStdHandle(standardHandle);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) && SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

} // namespace

StandardOutput::StandardOutput() {
    if (GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1) // 1: set and empty
        return;
    m_colours = IsColouredConsole(STD_OUTPUT_HANDLE);
    m_errorColours = IsColouredConsole(STD_ERROR_HANDLE);
}

void StandardOutput::Write(std::string_view text) {
    if (!WriteTo(STD_OUTPUT_HANDLE, text))
        m_failed = true;
}

void StandardOutput::WriteError(std::string_view text) {
    static_cast<void>(WriteTo(STD_ERROR_HANDLE, text)); // nowhere is left to report a failure
}

} // namespace fcoectl
