// The installer's flag, this account, and what an uninstalled version left.
#include <filesystem>

#include <fmt/format.h>

#include "tools/fcoectl/Machine.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/reading/Registry.h"

namespace fcoectl {
namespace {

constexpr wchar_t FEATURES[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t FCOE_FLAG[] = L"InstalledTOLV_FCOE";
constexpr wchar_t AGENTS[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents";

bool IsElevated() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return false;
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    const bool read = GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size);
    CloseHandle(token);
    return read && elevation.TokenIsElevated != 0;
}

// Names of the subkeys of a key of the local machine.
std::vector<std::wstring> Subkeys(const wchar_t* key) {
    std::vector<std::wstring> names;
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return names;
    wchar_t name[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = 256;
        if (RegEnumKeyExW(opened, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        names.emplace_back(name, length);
    }
    RegCloseKey(opened);
    return names;
}

// Whether 32-bit programs have a key of that name: no agent reads it there.
bool ExistsFor32Bit(const wchar_t* key) {
    HKEY narrow = nullptr, wide = nullptr;
    const bool found = RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ | KEY_WOW64_32KEY, &narrow) == ERROR_SUCCESS;
    if (found)
        RegCloseKey(narrow);
    const bool own = RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ | KEY_WOW64_64KEY, &wide) == ERROR_SUCCESS;
    if (own)
        RegCloseKey(wide);
    return found && !own;
}

// The service's program as the service manager has it, without quotes and arguments; empty: there is no such service.
std::wstring ServiceProgram() {
    std::wstring program;
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = manager ? OpenServiceW(manager, DCB_SERVICE, SERVICE_QUERY_CONFIG) : nullptr;
    DWORD size = 0;
    if (service && !QueryServiceConfigW(service, nullptr, 0, &size) && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        std::vector<BYTE> buffer(size);
        auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
        if (QueryServiceConfigW(service, config, size, &size))
            program = config->lpBinaryPathName;
    }
    if (service)
        CloseServiceHandle(service);
    if (manager)
        CloseServiceHandle(manager);
    if (program.starts_with(L'"'))
        return program.substr(1, program.find(L'"', 1) - 1);
    const std::size_t suffix = program.find(L".exe");
    return suffix == std::wstring::npos ? program : program.substr(0, suffix + 4);
}

} // namespace

void CheckFcoeFlag(Examination& examination) {
    const RegistryText flag = ReadText(FEATURES, FCOE_FLAG);
    constexpr char advice[] = "Install FCoE with the suite's installer, or set the value to the text 1.";
    if (!flag.Found())
        return examination.Fail("FCoE counts as not installed. " + flag.Problem(), advice);
    if (flag.text != L"1")
        return examination.Fail(fmt::format("FCoE counts as not installed: \"{}\" under \"HKEY_LOCAL_MACHINE\\{}\" is "
                                            "\"{}\", not \"1\".",
                                            ToUtf8(FCOE_FLAG), ToUtf8(FEATURES), ToUtf8(flag.text)),
                                advice);
    examination.Ok("FCoE is installed.");
}

void CheckAccount(Examination& examination) {
    const std::string user = UserName();
    const std::string name = user.empty() ? "unknown" : user;
    if (IsElevated())
        examination.Ok(fmt::format("\"{}\", with an administrator's rights.", name));
    else
        examination.Warn(fmt::format("\"{}\", without an administrator's rights.", name),
                         "The maker's library may refuse changes and more; run the program elevated to compare.");
}

void CheckLeftovers(Examination& examination) {
    std::size_t found = 0;
    const auto tell = [&](const std::string& text, const char* advice) {
        ++found;
        examination.Warn(text, advice);
    };
    for (const std::wstring& name : Subkeys(AGENTS)) {
        const RegistryText file = RegisteredAgent(name.c_str());
        const bool own = EqualIgnoringCase(name, L"FcoeAgnt") || EqualIgnoringCase(name, L"CoreAgnt");
        if (!own && file.Found() && !Exists(file.text) && !Exists(file.text + L".DLL"))
            tell(fmt::format("The agent {} is registered, but \"{}\" does not exist.", ToUtf8(name), ToUtf8(file.text)),
                 "An uninstalled version left the key; delete it.");
    }
    if (ExistsFor32Bit(AGENTS))
        tell("The suite's registry keys are there for 32-bit programs only; the agent does not see them.",
             "Remove the 32-bit suite, and install the 64-bit one.");
    const std::wstring program = ServiceProgram();
    if (!program.empty() && !Exists(program))
        tell(fmt::format("The service {} is registered, but its program \"{}\" does not exist.", ToUtf8(DCB_SERVICE),
                         ToUtf8(program)),
             "An uninstalled version left the service; delete it with 'sc delete OrvanDCB'.");
    if (found == 0)
        examination.Ok("No uninstalled version has left anything.");
}

} // namespace fcoectl
