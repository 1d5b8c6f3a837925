// What the suite's registry keys say. Read only.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace reading {

// A text value below HKEY_LOCAL_MACHINE, or why it cannot be had.
struct RegistryText {
    std::wstring key;
    std::wstring name;
    std::wstring text;
    LONG result = 0; // Win32 result; 0: read

    bool Found() const { return result == ERROR_SUCCESS; }
    // "The registry value "InstalledDir" under "HKEY_LOCAL_MACHINE\..." is missing." and the like.
    std::string Problem() const;
};

// The full file path of an agent's module, as its installer registered it.
RegistryText RegisteredAgent(const wchar_t* agentName);

// Both below HKEY_LOCAL_MACHINE.
RegistryText ReadText(const std::wstring& key, const wchar_t* name);
bool KeyExists(const std::wstring& key);

} // namespace reading
