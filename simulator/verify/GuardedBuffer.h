// A buffer for a neighbour to write, which ends where memory that cannot be written begins.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace verify {

class GuardedBuffer {
  public:
    // size: a multiple of the alignment of what the buffer holds. Throws std::bad_alloc.
    GuardedBuffer(std::size_t size, std::uint8_t fill);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    template <class Record> Record* As() { return reinterpret_cast<Record*>(m_data); }
    std::span<const std::uint8_t> Bytes() const { return {m_data, m_size}; }
    std::vector<std::uint8_t> Copy() const { return {m_data, m_data + m_size}; }

    // Whether the address lies behind the end of a buffer that there is now. For exception filters: takes no lock.
    static bool IsBehindOne(const void* address);

  private:
    std::uint8_t* m_pages;
    std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_slot; // among those that IsBehindOne knows
};

} // namespace verify
