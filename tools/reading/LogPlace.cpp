#include "tools/reading/LogPlace.h"

#include <string_view>

#include <fmt/format.h>

#include "tools/reading/Registry.h"
#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr wchar_t LOG_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
constexpr wchar_t LOG_FILE[] = L"FcoeAgnt.txt";
// Longer texts are none to the agent.
constexpr std::size_t FOLDER_LIMIT = 511;
constexpr std::size_t TEMP_LIMIT = 259;

// Whether this process's agent wrote the file: it begins anew with each agent, and a line with the process.
bool IsOwn(const std::wstring& file) {
    const HANDLE opened =
        CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return false;
    char start[64];
    DWORD length = 0;
    if (!ReadFile(opened, start, sizeof start, &length, nullptr))
        length = 0;
    CloseHandle(opened);
    return std::string_view(start, length).find(fmt::format("\tPID:{:x}\t", GetCurrentProcessId())) !=
           std::string_view::npos;
}

} // namespace

LogSettings ReadLogSettings() {
    LogSettings settings;
    settings.key = LOG_KEY;
    settings.keyExists = KeyExists(LOG_KEY);
    DWORD level = 0;
    DWORD bytes = sizeof level;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, LOG_KEY, L"TRACE", RRF_RT_REG_DWORD, nullptr, &level, &bytes) == ERROR_SUCCESS)
        settings.level = level;
    return settings;
}

std::wstring RegisteredLogFile() {
    const std::wstring folder = ReadText(LOG_KEY, L"InstalledDir").text;
    return InFolder(folder.size() > FOLDER_LIMIT ? L"" : folder, LOG_FILE);
}

std::wstring TemporaryLogFile() {
    wchar_t folder[TEMP_LIMIT + 1];
    const DWORD length = GetEnvironmentVariableW(L"Temp", folder, TEMP_LIMIT + 1);
    return InFolder({folder, length > TEMP_LIMIT ? 0 : length}, LOG_FILE);
}

std::wstring OwnLogFile() {
    for (std::wstring file : {RegisteredLogFile(), TemporaryLogFile()})
        if (IsOwn(file))
            return file;
    return {};
}

} // namespace reading
