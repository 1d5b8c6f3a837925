// The suite's registry keys below HKEY_LOCAL_MACHINE, named after what is read there.
#pragma once

// Several of them lead to one key. Letter case and a backslash at the end mean nothing to the registry; whoever watches
// its access filters by the text, so each reader keeps the spelling it has always had.
inline constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
inline constexpr wchar_t LOG_SETTINGS_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
inline constexpr wchar_t AGENTS_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\"; // and an agent's name
inline constexpr wchar_t DCB_SETTINGS_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\DCB\\";
inline constexpr wchar_t DEBUG_SETTINGS_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\Debug";
inline constexpr wchar_t INSTALLED_FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV\\";
inline constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
inline constexpr wchar_t OS_OVERRIDES_KEY[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\TOLV";
