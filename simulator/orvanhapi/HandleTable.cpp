#include "simulator/orvanhapi/HandleTable.h"

namespace orvanhapi {

HandleTable& HandleTable::Instance() {
    static HandleTable table;
    return table;
}

HBA_HANDLE HandleTable::Open(const sim::Adapter& adapter) {
    ++m_opens[adapter.index];
    return adapter.index + 1;
}

void HandleTable::Close(HBA_HANDLE handle) {
    if (handle == HBA_HANDLE_INVALID || handle > m_opens.size())
        return;
    auto& opens = m_opens[handle - 1];
    std::uint32_t count = opens;
    while (count > 0 && !opens.compare_exchange_weak(count, count - 1)) {
    }
}

const sim::Adapter* HandleTable::Find(const sim::Scene& scene, HBA_HANDLE handle) const {
    const auto& adapters = scene.topology.adapters;
    if (handle == HBA_HANDLE_INVALID || handle > adapters.size() || m_opens[handle - 1] == 0)
        return nullptr;
    return &adapters[handle - 1];
}

unsigned HandleTable::OpenCount() const {
    unsigned count = 0;
    for (const auto& opens : m_opens)
        count += opens;
    return count;
}

} // namespace orvanhapi
