// The simulated core agent: the topology's adapters behind the core agent's private interface.
#pragma once

#include "simulator/coreagent/ConfigurationLock.h"
#include "simulator/coreagent/ReservedSlots.h"

namespace coreagent {

// Codes of a QEL_RESULT beside 0.
constexpr ULONG ERROR_TOPOLOGY = 1;      // the topology is wrong
constexpr ULONG ERROR_NO_ADAPTER = 2;    // no adapter has the identifier
constexpr ULONG ERROR_LOCK_IS_HELD = 3;  // StartLock waited in vain
constexpr ULONG ERROR_LOCK_NOT_HELD = 4; // DoneLock of one who does not hold the lock

// Every function may be called from any thread. They throw where a fault says so.
class CoreAgent : public ReservedSlots {
  public:
    void WaitForApplyDone(ULONG64 ullContext) override;
    QEL_RESULT EnumerateAdapters(std::vector<CQelString>& vecAdapters, ULONG64 ullContext) override;
    QEL_RESULT GetAdapterInfo(const CQelString& strAdapter, QEL_ADAPTER_INFO& info, ULONG ulReserved) override;
    QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) override;
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST request) override;
    BYTE SupportsFcoe(const CQelString& strAdapter) override;

  private:
    void OnReserved(int slot) override;

    ConfigurationLock m_lock;
};

} // namespace coreagent
