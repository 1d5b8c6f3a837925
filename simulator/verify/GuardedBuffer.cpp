#include "simulator/verify/GuardedBuffer.h"

#include <atomic>
#include <new>

#include <windows.h>

namespace verify {
namespace {

constexpr std::size_t PAGE = 4096;
constexpr std::size_t GUARD = 16 * PAGE;
constexpr std::size_t MAX_BUFFERS = 64;

std::atomic<const std::uint8_t*> s_ends[MAX_BUFFERS];

std::size_t TakeSlot(const std::uint8_t* end) {
    for (std::size_t slot = 0; slot < MAX_BUFFERS; ++slot) {
        const std::uint8_t* none = nullptr;
        if (s_ends[slot].compare_exchange_strong(none, end))
            return slot;
    }
    return MAX_BUFFERS; // an overrun of this one is a crash as any
}

} // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, std::uint8_t fill) : m_size(size) {
    const std::size_t pages = (size + PAGE - 1) / PAGE * PAGE;
    m_pages = static_cast<std::uint8_t*>(VirtualAlloc(nullptr, pages + GUARD, MEM_RESERVE, PAGE_NOACCESS));
    if (!m_pages || !VirtualAlloc(m_pages, pages, MEM_COMMIT, PAGE_READWRITE))
        throw std::bad_alloc();
    m_data = m_pages + pages - size;
    std::memset(m_data, fill, size);
    m_slot = TakeSlot(m_pages + pages);
}

GuardedBuffer::~GuardedBuffer() {
    if (m_slot < MAX_BUFFERS)
        s_ends[m_slot] = nullptr;
    VirtualFree(m_pages, 0, MEM_RELEASE);
}

bool GuardedBuffer::IsBehindOne(const void* address) {
    const auto* byte = static_cast<const std::uint8_t*>(address);
    for (const auto& end : s_ends) {
        const std::uint8_t* from = end.load();
        if (from && byte >= from && byte < from + GUARD)
            return true;
    }
    return false;
}

} // namespace verify
