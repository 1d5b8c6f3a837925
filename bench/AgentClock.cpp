#include "bench/AgentClock.h"

#include <cstring>
#include <stdexcept>

namespace {

DWORD g_ticks = 100000;

DWORD WINAPI Ticks() {
    return g_ticks;
}

void** ImportSlot(HMODULE module, const char* function) {
    auto* base = reinterpret_cast<BYTE*>(module);
    auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); d->Name; ++d) {
        auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->OriginalFirstThunk);
        auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            const auto* byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0)
                return reinterpret_cast<void**>(&slot->u1.Function);
        }
    }
    throw std::runtime_error(std::string("the agent does not import ") + function);
}

void Store(void** slot, void* value) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof value, PAGE_READWRITE, &protection);
    *slot = value;
    VirtualProtect(slot, sizeof value, protection, &protection);
}

} // namespace

AgentClock::AgentClock(HMODULE module) : m_slot(ImportSlot(module, "GetTickCount")), m_original(*m_slot) {
    Store(m_slot, reinterpret_cast<void*>(&Ticks));
}

AgentClock::~AgentClock() {
    Store(m_slot, m_original);
}

void AgentClock::Advance(DWORD milliseconds) {
    g_ticks += milliseconds;
}
