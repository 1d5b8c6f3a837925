// simctl use
#include <windows.h>

#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

constexpr wchar_t KEY[] = L"SOFTWARE\\ORVAN\\Simulator";
constexpr wchar_t VALUE[] = L"Topology";

LSTATUS Configure(const std::filesystem::path& file) {
    if (!file.empty()) {
        const std::wstring text = file.wstring();
        return RegSetKeyValueW(HKEY_LOCAL_MACHINE, KEY, VALUE, REG_SZ, text.c_str(),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    const LSTATUS status = RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, KEY, VALUE);
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

} // namespace

int Use(Console& console, const UseOptions& options) {
    // The modules have other current folders.
    const std::filesystem::path file =
        options.builtIn ? std::filesystem::path() : std::filesystem::absolute(sim::Wide(options.file));
    const CheckedFile checked = options.builtIn ? CheckBuiltIn() : CheckFile(file);
    console.Err(checked.ErrorLines() + checked.WarningLines());
    if (!checked.IsGood()) {
        console.Err("not taken into use: " + checked.name + " is wrong\n");
        return WRONG;
    }
    if (const LSTATUS status = Configure(file); status != ERROR_SUCCESS) {
        console.Err("the registry value Topology of HKLM\\SOFTWARE\\ORVAN\\Simulator cannot be changed: " +
                    SystemText(static_cast<unsigned long>(status)) + "\n");
        return WRONG;
    }
    console.Out("in use: " + checked.name + ": " + checked.Content() + "\n");
    if (FindInUse().source == Source::Variable)
        console.Err("note: where the variable ORVAN_SIM_TOPOLOGY is set, as here, it comes first\n");
    return GOOD;
}

} // namespace simctl
