#include "tests/kit/ImportPatch.h"

#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

namespace {

// The tables of a module may lie at any address that four divides.
template <class T> T Read(const void* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

} // namespace

void** FindImport(HMODULE module, const char* dll, const char* function) {
    auto* base = reinterpret_cast<BYTE*>(module ? module : GetModuleHandleW(nullptr));
    auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0)
        return nullptr;
    for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); d->Name; ++d) {
        if (_stricmp(reinterpret_cast<char*>(base + d->Name), dll))
            continue;
        const BYTE* name = base + d->OriginalFirstThunk;
        BYTE* slot = base + d->FirstThunk;
        for (ULONG_PTR entry; (entry = Read<ULONG_PTR>(name)) != 0; name += sizeof entry, slot += sizeof entry) {
            if (IMAGE_SNAP_BY_ORDINAL(entry))
                continue;
            const BYTE* const imported = base + entry + offsetof(IMAGE_IMPORT_BY_NAME, Name);
            if (std::strcmp(reinterpret_cast<const char*>(imported), function) == 0)
                return reinterpret_cast<void**>(slot);
        }
    }
    return nullptr;
}

void* LoadImport(void** slot) {
    return Read<void*>(slot);
}

void StoreImport(void** slot, void* function) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof function, PAGE_READWRITE, &protection);
    std::memcpy(slot, &function, sizeof function);
    VirtualProtect(slot, sizeof function, protection, &protection);
}

ImportPatch::ImportPatch(HMODULE module, const char* dll, const char* function, void* replacement)
    : m_slot(FindImport(module, dll, function)) {
    if (!m_slot) {
        ADD_FAILURE() << "the module does not import " << dll << "!" << function;
        return;
    }
    m_original = LoadImport(m_slot);
    StoreImport(m_slot, replacement);
}

ImportPatch::~ImportPatch() {
    if (m_slot)
        StoreImport(m_slot, m_original);
}
