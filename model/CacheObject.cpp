#include "model/CacheObject.h"

#include <utility>

CacheObject::CacheObject(void* pOwner, ULONG ulTimeout, CacheRefresh pfnRefresh)
    : m_pOwner(pOwner), m_bValid(false), m_ulTimeout(ulTimeout), m_dwLastRefresh(0), m_pfnRefresh(pfnRefresh) {}

CacheObject::CacheObject(std::shared_ptr<void> pValue)
    : m_pOwner(nullptr), m_bValid(true), m_pValue(std::move(pValue)), m_ulTimeout(0), m_dwLastRefresh(0),
      m_pfnRefresh(nullptr) {}

int CacheObject::Query() const {
    return 0;
}

bool CacheObject::Get(std::shared_ptr<void>& pOut) {
    // Acquired from the store below: who sees the mark sees a value.
    const bool bValid = m_bValid.load(std::memory_order_acquire);
    if (m_ulTimeout != 0 || !bValid) {
        // Unsigned, so the wrap of the tick counter is harmless.
        const DWORD dwElapsed = GetTickCount() - m_dwLastRefresh.load(std::memory_order_relaxed);
        bool bResult = true;
        if ((dwElapsed > m_ulTimeout || !bValid) && m_pfnRefresh) {
            bResult = m_pfnRefresh(m_pOwner, &m_pValue);
            m_dwLastRefresh.store(GetTickCount(), std::memory_order_relaxed);
        }
        if (!bResult)
            return false;
        // One that was valid is not marked again, so that an invalidation by another thread during the refresh stands.
        // During the refresh of one that was not, it is lost.
        if (!bValid)
            m_bValid.store(true, std::memory_order_release);
    }
    pOut = m_pValue.load();
    return true;
}

void CacheObject::Invalidate() {
    m_bValid.store(false, std::memory_order_relaxed);
}
