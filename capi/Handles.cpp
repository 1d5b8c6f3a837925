#include "capi/Handles.h"

#include <cstdint>

namespace capi {

Handle** HandleTable::Place(const void* address) noexcept {
    constexpr unsigned SMALLEST_BLOCK_BITS = 5;
    Handle** place = &m_rows[(reinterpret_cast<std::uintptr_t>(address) >> SMALLEST_BLOCK_BITS) % ROWS];
    while (*place && *place != address)
        place = &(*place)->m_next;
    return place;
}

void HandleTable::Add(Handle* handle) noexcept {
    const CQelLockGuard guard(m_lock);
    *Place(handle) = handle;
}

Handle* HandleTable::Find(const void* address) noexcept {
    const CQelLockGuard guard(m_lock);
    return *Place(address);
}

Handle* HandleTable::Take(const void* address) noexcept {
    const CQelLockGuard guard(m_lock);
    Handle** place = Place(address);
    Handle* const handle = *place;
    if (handle) {
        *place = handle->m_next;
        handle->m_next = nullptr;
    }
    return handle;
}

} // namespace capi
