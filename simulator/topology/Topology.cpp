#include "simulator/topology/Topology.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include <windows.h>

#include "simulator/topology/Text.h"

namespace sim {
namespace {

constexpr char DEFAULT_TOPOLOGY[] =
#include "DefaultTopology.inc"
    ;

} // namespace

const Adapter* Topology::FindAdapter(std::wstring_view identifier) const {
    const auto found = std::find_if(adapters.begin(), adapters.end(), [&](const Adapter& adapter) {
        return EqualNoCase(Wide(adapter.identifier), identifier);
    });
    return found == adapters.end() ? nullptr : &*found;
}

std::wstring RegistryText(const wchar_t* value) {
    constexpr wchar_t KEY[] = L"SOFTWARE\\ORVAN\\Simulator";
    DWORD size = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, KEY, value, RRF_RT_REG_SZ, nullptr, nullptr, &size) != ERROR_SUCCESS)
        return {};
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (RegGetValueW(HKEY_LOCAL_MACHINE, KEY, value, RRF_RT_REG_SZ, nullptr, text.data(), &size) != ERROR_SUCCESS)
        return {};
    text.resize(wcsnlen(text.c_str(), text.size()));
    return text;
}

std::wstring EnvironmentText(const wchar_t* variable) {
    std::wstring text(32768, L'\0');
    // The process's own variables: the C run time's copy does not see what another module has set.
    text.resize(GetEnvironmentVariableW(variable, text.data(), static_cast<DWORD>(text.size())));
    return text;
}

std::wstring SimulatorSetting(const wchar_t* variable, const wchar_t* registryValue) {
    const std::wstring text = EnvironmentText(variable);
    return text.empty() ? RegistryText(registryValue) : text;
}

std::filesystem::path TopologyFile() {
    return SimulatorSetting(L"ORVAN_SIM_TOPOLOGY", L"Topology");
}

Topology LoadTopology(const std::filesystem::path& file) {
    const std::string name = Utf8(file.wstring());
    std::string text;
    try {
        text = ReadFile(file);
    } catch (const std::system_error& error) {
        throw TopologyError(name + ": cannot be read: error " + std::to_string(error.code().value()));
    }
    Topology topology = ParseTopology(text, name, file.parent_path());
    topology.file = file;
    return topology;
}

Topology LoadConfiguredTopology() {
    const auto file = TopologyFile();
    return file.empty() ? ParseTopology(DefaultTopologyText(), "built-in topology") : LoadTopology(file);
}

std::string_view DefaultTopologyText() {
    return DEFAULT_TOPOLOGY;
}

std::string WwnText(const Wwn& wwn) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    for (const auto byte : wwn) {
        if (!text.empty())
            text += ':';
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    return text;
}

std::optional<Wwn> ParseWwn(std::string_view text) {
    Wwn wwn{};
    if (text.size() != wwn.size() * 3 - 1)
        return std::nullopt;
    for (std::size_t i = 0; i < wwn.size(); ++i) {
        const char* group = text.data() + i * 3;
        const auto [end, error] = std::from_chars(group, group + 2, wwn[i], 16);
        if (error != std::errc() || end != group + 2 || (i > 0 && group[-1] != ':'))
            return std::nullopt;
    }
    return wwn;
}

} // namespace sim
