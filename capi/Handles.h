// What hosts hold by pointers: whether one is of those that were given out, without looking at what it points to.
#pragma once

#include <cstddef>

#include "FcoeAgent/QelLock.h"

namespace capi {

// Base of what is given out.
class Handle {
  public:
    Handle() = default;
    virtual ~Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

  private:
    friend class HandleTable;
    Handle* m_next = nullptr;
};

// For any number of threads. Needs no memory of its own, and leaves what hosts did not give back.
class HandleTable {
  public:
    void Add(Handle* handle) noexcept QEL_EXCLUDES(m_lock);
    // The handle at that address; null: none of these is there.
    Handle* Find(const void* address) noexcept QEL_EXCLUDES(m_lock);
    // The same, and takes it out of the table.
    Handle* Take(const void* address) noexcept QEL_EXCLUDES(m_lock);

  private:
    static constexpr std::size_t ROWS = 256;

    // Where the handle at that address is kept, or the end of its row.
    Handle** Place(const void* address) noexcept QEL_REQUIRES(m_lock);

    CQelLock m_lock;
    Handle* m_rows[ROWS] QEL_GUARDED_BY(m_lock) = {};
};

} // namespace capi
