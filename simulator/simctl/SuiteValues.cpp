#include "simulator/simctl/SuiteValues.h"

#include <filesystem>

#include "simulator/topology/Text.h"

namespace simctl {
namespace {

constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t FEATURES[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t FCOE_AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
constexpr wchar_t CORE_AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";
constexpr wchar_t SIMULATOR[] = L"SOFTWARE\\ORVAN\\Simulator";
constexpr wchar_t FILE_VALUE[] = L"InstalledDir"; // of an agent: its file
constexpr DWORD LOG_LEVEL = 1;

struct Text {
    const wchar_t* key;
    const wchar_t* name;
    const wchar_t* text;
    bool isPlace; // below the suite's folder
};

constexpr Text TEXTS[] = {
    {SUITE, L"InstalledDir", L"\\log", true},
    {SUITE, L"ResourcePath", L"\\bin", true},
    {FCOE_AGENT, FILE_VALUE, L"\\bin\\FcoeAgnt.dll", true},
    {CORE_AGENT, FILE_VALUE, L"\\bin\\CoreAgnt.dll", true},
    {FEATURES, L"InstallDir", L"", true},
    {FEATURES, L"InstalledTOLV_FCOE", L"1", false},
    {FEATURES, L"InstalledTOLV_DCB", L"1", false},
    {FEATURES, L"InstalledTOLV_ISCSI", L"0", false},
    {SIMULATOR, L"State", L"\\suite-state.json", true},
};
constexpr wchar_t LEVEL_VALUE[] = L"TRACE"; // of the log, in SUITE

std::wstring Value(const Text& text) {
    return text.isPlace ? SuiteFolder() + text.text : text.text;
}

std::wstring Registered(const wchar_t* key) {
    wchar_t text[1024];
    DWORD size = sizeof text;
    return RegGetValueW(HKEY_LOCAL_MACHINE, key, FILE_VALUE, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS
               ? text
               : L"";
}

// What a file that is gone registered counts for nothing.
bool IsForeign(const std::wstring& file, const wchar_t* ours) {
    return !file.empty() && !sim::EqualNoCase(file, SuiteFolder() + ours) &&
           GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The key, and those above it up to the maker's, while nothing is in them.
void DeleteEmptyKeys(std::wstring key) {
    while (key != L"SOFTWARE") {
        DWORD keys = 0, values = 0;
        HKEY opened = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_QUERY_VALUE, &opened) == ERROR_SUCCESS) {
            RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                             nullptr, nullptr);
            RegCloseKey(opened);
            if (keys + values > 0 || RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str()) != ERROR_SUCCESS)
                return;
        }
        key.resize(key.rfind(L'\\'));
    }
}

} // namespace

std::wstring SuiteFolder() {
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return std::filesystem::path(program).parent_path().parent_path().wstring();
}

std::wstring ForeignAgent() {
    for (const auto& [key, ours] :
         {std::pair(FCOE_AGENT, L"\\bin\\FcoeAgnt.dll"), {CORE_AGENT, L"\\bin\\CoreAgnt.dll"}})
        if (const std::wstring file = Registered(key); IsForeign(file, ours))
            return file;
    return {};
}

bool IsRegistered() {
    return !Registered(FCOE_AGENT).empty();
}

LSTATUS WriteValues() {
    LSTATUS status = RegSetKeyValueW(HKEY_LOCAL_MACHINE, SUITE, LEVEL_VALUE, REG_DWORD, &LOG_LEVEL, sizeof LOG_LEVEL);
    for (const Text& text : TEXTS) {
        const std::wstring value = Value(text);
        if (status == ERROR_SUCCESS)
            status = RegSetKeyValueW(HKEY_LOCAL_MACHINE, text.key, text.name, REG_SZ, value.c_str(),
                                     static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }
    return status;
}

LSTATUS DeleteValues() {
    LSTATUS first = ERROR_SUCCESS;
    const auto remove = [&](const wchar_t* key, const wchar_t* name) {
        const LSTATUS status = RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, name);
        if (first == ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
            first = status;
    };
    remove(SUITE, LEVEL_VALUE);
    remove(SIMULATOR, L"Topology");
    for (const Text& text : TEXTS)
        remove(text.key, text.name);
    for (const Text& text : TEXTS)
        DeleteEmptyKeys(text.key);
    return first;
}

} // namespace simctl
