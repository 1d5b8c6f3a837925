// The mutex that serialises, across all processes, what loads, initializes or reconfigures the vendor library. It may
// be unloaded without: a stop does not depend on it, and the last call to return may be one that does not take it.
#pragma once

#include <windows.h>

#include "Common/Src/Owner.h"

struct CQelMutexTraits {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    // Releasing a mutex that the thread does not own fails and changes nothing.
    static void Close(Handle handle) noexcept {
        ReleaseMutex(handle);
        CloseHandle(handle);
    }
};

// Opens and takes the mutex, and gives it back at scope end. The handle is never kept beyond the scope. One that
// another account made is opened as far as that account lets others wait for it.
class CQelCrossProcessMutex {
  public:
    // Waits at most 10 s. An abandoned mutex counts as not acquired; it is given back at once, so the next one gets it.
    CQelCrossProcessMutex();

    [[nodiscard]] bool IsAcquired() const noexcept { return static_cast<bool>(m_mutex); }

  private:
    CQelOwner<CQelMutexTraits> m_mutex;
};
