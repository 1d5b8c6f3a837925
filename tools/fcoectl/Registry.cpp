#include "tools/fcoectl/Registry.h"

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr wchar_t AGENTS_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\";
constexpr wchar_t LOG_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
constexpr wchar_t INSTALLED_DIR[] = L"InstalledDir";
constexpr wchar_t TRACE[] = L"TRACE";

RegistryText ReadText(const std::wstring& key, const wchar_t* name) {
    RegistryText value{key, name, {}, 0};
    const DWORD types = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    DWORD bytes = 0;
    // Another process may make the value longer between the two calls.
    do {
        value.text.resize(bytes / sizeof(wchar_t) + 1);
        bytes = static_cast<DWORD>(value.text.size() * sizeof(wchar_t));
        value.result = RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, types, nullptr, value.text.data(), &bytes);
    } while (value.result == ERROR_MORE_DATA);
    value.text.resize(value.Found() ? bytes / sizeof(wchar_t) : 0);
    while (!value.text.empty() && value.text.back() == L'\0')
        value.text.pop_back();
    return value;
}

bool KeyExists(const std::wstring& key) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return false;
    RegCloseKey(opened);
    return true;
}

} // namespace

std::string RegistryText::Problem() const {
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(key);
    if (result != ERROR_FILE_NOT_FOUND)
        return fmt::format("The registry value \"{}\" under \"{}\" cannot be read: {}", ToUtf8(name), where,
                           SystemMessage(static_cast<DWORD>(result)));
    if (!KeyExists(key))
        return fmt::format("The registry key \"{}\" with the value \"{}\" is missing.", where, ToUtf8(name));
    return fmt::format("The registry value \"{}\" under \"{}\" is missing.", ToUtf8(name), where);
}

RegistryText RegisteredAgent(const wchar_t* agentName) {
    return ReadText(std::wstring(AGENTS_KEY) + agentName, INSTALLED_DIR);
}

std::string LogHint() {
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(LOG_KEY);
    if (!KeyExists(LOG_KEY))
        return fmt::format("The agent writes no log, because the registry key \"{}\" is missing.", where);
    DWORD level = 1;
    DWORD bytes = sizeof level;
    const LONG result = RegGetValueW(HKEY_LOCAL_MACHINE, LOG_KEY, TRACE, RRF_RT_REG_DWORD, nullptr, &level, &bytes);
    if (result == ERROR_SUCCESS && level == 0)
        return fmt::format("The agent's log is turned off: \"TRACE\" is 0 under \"{}\"; 1 turns it on.", where);
    const std::string file = ToUtf8(ReadText(LOG_KEY, INSTALLED_DIR).text) + "\\FcoeAgnt.txt";
    if (result == ERROR_SUCCESS && level == 2)
        return fmt::format("The agent's log is {} (errors only: \"TRACE\" is 2).", file);
    return fmt::format("The agent's log is {}.", file);
}

} // namespace fcoectl
