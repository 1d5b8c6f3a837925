#include "bench/Machine.h"

#include "bench/FindFunction.h"

namespace {

constexpr wchar_t HIVE[] = L"Software\\FcoeBench";
constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";

void Set(const std::wstring& key, const wchar_t* value, const std::wstring& text) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), value, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

} // namespace

Machine::Machine(const std::filesystem::path& bin)
    : m_bin(bin), m_log(std::filesystem::temp_directory_path() / L"fcoebench") {
    std::filesystem::create_directories(m_log);
    RegCreateKeyExW(HKEY_CURRENT_USER, HIVE, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hive, nullptr);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_hive);
    const std::wstring suite = SUITE;
    for (const wchar_t* module : {L"FcoeAgnt", L"CoreAgnt"})
        Set(suite + L"\\Agents\\" + module, L"InstalledDir", (bin / module).wstring() + L".dll");
    Set(suite, L"InstalledDir", m_log.wstring());
    Set(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"InstalledTOLV_FCOE", L"1");
}

Machine::~Machine() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_hive);
    RegDeleteTreeW(HKEY_CURRENT_USER, HIVE);
    std::error_code ignored;
    std::filesystem::remove_all(m_log, ignored);
}

void Machine::Trace(DWORD level) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, SUITE, L"TRACE", REG_DWORD, &level, sizeof level);
}

Agent::Agent(const Machine& machine) : m_module(LoadLibraryW(machine.Module(L"FcoeAgnt.dll").c_str())) {
    if (!m_module)
        throw std::runtime_error(fmt::format("FcoeAgnt.dll cannot be loaded, error {}", GetLastError()));
    m_agent = NeedFunction<PFN_GetFcoeAgent>(m_module, "GetFcoeAgent")();
    if (!m_agent)
        throw std::runtime_error("there is no agent to be had");
    m_clock = std::make_unique<AgentClock>(m_module);
}

Agent::~Agent() {
    m_clock.reset();
    FreeLibrary(m_module);
}
