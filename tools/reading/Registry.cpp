#include "tools/reading/Registry.h"

#include <fmt/format.h>

#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr wchar_t AGENTS_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\";
constexpr wchar_t INSTALLED_DIR[] = L"InstalledDir";

} // namespace

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

} // namespace reading
