// The suite's configuration lock: one owner at a time on the whole machine.
#pragma once

#include <mutex>
#include <string>

#include <windows.h>

#include "simulator/control/KernelHandle.h"

namespace coreagent {

// It belongs to a lock owner's number, not to a thread, and a process that ends gives it up.
class ConfigurationLock {
  public:
    ConfigurationLock();
    // Waits for it within the configured time. False: someone else, or this owner itself, kept it that long.
    bool Take(ULONG owner);
    // False: the owner does not hold it in this process.
    bool Release(ULONG owner);

  private:
    bool TryTake(ULONG owner);

    const std::wstring m_name;
    std::mutex m_mutex; // for what follows
    sim::KernelHandle m_held;
    ULONG m_owner = 0;
};

} // namespace coreagent
