#include "tests/kit/ImportPatch.h"

#include <cstring>

#include <gtest/gtest.h>

void** FindImport(HMODULE module, const char* dll, const char* function) {
    auto* base = reinterpret_cast<BYTE*>(module ? module : GetModuleHandleW(nullptr));
    auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0)
        return nullptr;
    for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); d->Name; ++d) {
        if (_stricmp(reinterpret_cast<char*>(base + d->Name), dll))
            continue;
        auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->OriginalFirstThunk);
        auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                continue;
            auto* byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<char*>(byName->Name), function) == 0)
                return reinterpret_cast<void**>(&slot->u1.Function);
        }
    }
    return nullptr;
}

void StoreImport(void** slot, void* function) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof function, PAGE_READWRITE, &protection);
    *slot = function;
    VirtualProtect(slot, sizeof function, protection, &protection);
}

ImportPatch::ImportPatch(HMODULE module, const char* dll, const char* function, void* replacement)
    : m_slot(FindImport(module, dll, function)) {
    if (!m_slot) {
        ADD_FAILURE() << "the module does not import " << dll << "!" << function;
        return;
    }
    m_original = *m_slot;
    StoreImport(m_slot, replacement);
}

ImportPatch::~ImportPatch() {
    if (m_slot)
        StoreImport(m_slot, m_original);
}
