// One cached value with its refresh routine and its age.
#pragma once

#include <atomic>
#include <memory>

#include <windows.h>

// Where a value lies: shared, type-erased; the key fixes the type. Readers see the old or the new value, never a mix.
using CacheSlot = std::atomic<std::shared_ptr<void>>;

// Fills the slot for the owner; false when that failed. What a failed routine left in the slot stays there.
using CacheRefresh = bool (*)(void* pOwner, CacheSlot* pSlot);

// There is no lock, so that no reader waits for another's library calls. Threads that meet an aged value may both
// refresh it; the one that is done last wins, also with what it read first. An invalidation that falls into a refresh
// may be lost. So a value may be as old as a refresh takes and a period more, and one that a routine could not read,
// because another thread was reopening the adapter, is handed out as empty for a period. None is ever torn.
class CacheObject final {
  public:
    // A refreshing value, empty at first. ulTimeout in milliseconds; 0: once filled it is kept until invalidated.
    CacheObject(void* pOwner, ULONG ulTimeout, CacheRefresh pfnRefresh);
    // A fixed value.
    explicit CacheObject(std::shared_ptr<void> pValue);
    CacheObject(const CacheObject&) = delete;
    CacheObject& operator=(const CacheObject&) = delete;

    virtual int Query() const;

    // Yields the value, refreshed first when it is invalid or older than its period. False when the refresh failed; the
    // output is then untouched. A refresh that fails counts as one all the same: a value that was valid before is
    // handed out again on the next call.
    bool Get(std::shared_ptr<void>& pOut);

    // The next Get refreshes, whatever the age. The value itself stays; a fixed one is handed out as before.
    void Invalidate();

  private:
    void* m_pOwner;
    std::atomic<bool> m_bValid;
    CacheSlot m_pValue;
    ULONG m_ulTimeout;
    std::atomic<DWORD> m_dwLastRefresh; // tick at which the routine last returned
    CacheRefresh m_pfnRefresh;
};
