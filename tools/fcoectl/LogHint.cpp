#include "tools/fcoectl/LogHint.h"

#include <fmt/format.h>

#include "tools/fcoectl/Registry.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr wchar_t LOG_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
constexpr wchar_t LOG_FILE[] = L"FcoeAgnt.txt";
// Longer texts are none to the agent.
constexpr std::size_t FOLDER_LIMIT = 511;
constexpr std::size_t TEMP_LIMIT = 259;

std::wstring RegisteredFile() {
    const std::wstring folder = ReadText(LOG_KEY, L"InstalledDir").text;
    return InFolder(folder.size() > FOLDER_LIMIT ? L"" : folder, LOG_FILE);
}

// Taken when the registered one cannot be written.
std::wstring TemporaryFile() {
    wchar_t folder[TEMP_LIMIT + 1];
    const DWORD length = GetEnvironmentVariableW(L"Temp", folder, TEMP_LIMIT + 1);
    return InFolder({folder, length > TEMP_LIMIT ? 0 : length}, LOG_FILE);
}

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

// The file that tells of this process; when none does, as after no error with errors only, both that it can be.
std::string Place() {
    const std::wstring registered = RegisteredFile();
    const std::wstring temporary = TemporaryFile();
    if (IsOwn(registered))
        return ToUtf8(registered);
    if (IsOwn(temporary))
        return fmt::format("{}, because {} cannot be written", ToUtf8(temporary), ToUtf8(registered));
    return fmt::format("{}, or {} when that file cannot be written", ToUtf8(registered), ToUtf8(temporary));
}

} // namespace

std::string LogHint() {
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(LOG_KEY);
    if (!KeyExists(LOG_KEY))
        return fmt::format("The agent writes no log, because the registry key \"{}\" is missing.", where);
    DWORD level = 1;
    DWORD bytes = sizeof level;
    const LONG result = RegGetValueW(HKEY_LOCAL_MACHINE, LOG_KEY, L"TRACE", RRF_RT_REG_DWORD, nullptr, &level, &bytes);
    if (result == ERROR_SUCCESS && level == 0)
        return fmt::format("The agent's log is turned off: \"TRACE\" is 0 under \"{}\"; 1 turns it on.", where);
    if (result == ERROR_SUCCESS && level == 2)
        return fmt::format("The agent's log is {} (errors only: \"TRACE\" is 2).", Place());
    return fmt::format("The agent's log is {}.", Place());
}

} // namespace fcoectl
