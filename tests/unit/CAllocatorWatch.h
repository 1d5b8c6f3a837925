// Watches the test program's own C allocator while the object lives: every block ends where its pages end, so that a
// step past it ends the test, and so does a touch after the free.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "tests/kit/ImportPatch.h"

// C++ allocations go past it. What malloc yields is filled with FILL.
class CAllocatorWatch {
  public:
    static constexpr unsigned char FILL = 0xA5;

    CAllocatorWatch();
    ~CAllocatorWatch();
    CAllocatorWatch(const CAllocatorWatch&) = delete;
    CAllocatorWatch& operator=(const CAllocatorWatch&) = delete;

    // The next allocation of this size fails.
    void Fail(std::size_t size) { m_failing.insert(size); }
    // What was asked for so far, failures included.
    std::vector<std::size_t> Sizes() const;
    // Blocks that are not freed yet.
    std::size_t Live() const;

    void* Allocate(std::size_t size, unsigned char fill);
    // False: not one of the watched blocks.
    bool Free(void* block);

  private:
    mutable std::mutex m_lock;
    std::map<void*, void*> m_bases; // by block
    std::vector<std::size_t> m_sizes;
    std::multiset<std::size_t> m_failing;
    ImportPatch m_malloc, m_calloc, m_free;
};
