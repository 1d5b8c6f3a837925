#include "simulator/control/ExportTable.h"

#include <map>

#include "simulator/control/Simulation.h"

namespace sim {
namespace {

void Write(DWORD* slot, DWORD value) {
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection))
        return;
    *slot = value;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

HMODULE s_module = nullptr;

void HideMissing(const Scene& scene) {
    std::set<std::string> missing;
    for (std::size_t function = 0; function < FUNCTION_COUNT; ++function) {
        if (scene.IsMissing(function))
            missing.emplace(FUNCTION_NAMES[function]);
    }
    HideExports(s_module, missing);
}

} // namespace

void HideExports(HMODULE module, const std::set<std::string>& names) {
    static std::map<DWORD*, DWORD> hidden; // address-table slots and what stood there
    for (const auto& [slot, address] : hidden)
        Write(slot, address);
    hidden.clear();

    // A function whose slot in the address table is 0 is not there for GetProcAddress, whatever the name table says.
    auto* base = reinterpret_cast<BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + directory.VirtualAddress);
    const auto* nameTable = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    const auto* ordinals = reinterpret_cast<const WORD*>(base + exports->AddressOfNameOrdinals);
    auto* addresses = reinterpret_cast<DWORD*>(base + exports->AddressOfFunctions);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        DWORD* slot = &addresses[ordinals[i]];
        if (names.count(reinterpret_cast<const char*>(base + nameTable[i])) != 0) {
            hidden.emplace(slot, *slot);
            Write(slot, 0);
        }
    }
}

void HideMissingExports(HMODULE module) {
    s_module = module;
    Simulation::Instance().SetLoadHook(HideMissing);
    const SceneInUse scene; // of which the hook hears
}

} // namespace sim
