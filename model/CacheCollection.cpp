#include "model/CacheCollection.h"

#include <algorithm>

CacheCollection::CacheCollection(void* pOwner, std::shared_ptr<const CQelString> pName)
    : m_pOwner(pOwner), m_pName(std::move(pName)) {}

void CacheCollection::Add(LONG lKey, ULONG ulTimeout, CacheRefresh pfnRefresh) {
    Put(lKey, std::make_shared<CacheObject>(m_pOwner, ulTimeout, pfnRefresh));
}

void CacheCollection::Add(LONG lKey, std::shared_ptr<void> pValue) {
    Put(lKey, std::make_shared<CacheObject>(std::move(pValue)));
}

void CacheCollection::Put(LONG lKey, std::shared_ptr<CacheObject> pObject) {
    std::erase_if(m_vecEntries, [lKey](const Entry& entry) { return entry.first == lKey; });
    m_vecEntries.emplace_back(lKey, std::move(pObject));
}

// Shared: the routine of a refresh may replace what its own key holds.
std::shared_ptr<CacheObject> CacheCollection::Find(LONG lKey) const {
    const auto it = std::ranges::find(m_vecEntries, lKey, &Entry::first);
    return it == m_vecEntries.end() ? nullptr : it->second;
}

void CacheCollection::Invalidate(LONG lKey) {
    if (const auto pObject = Find(lKey))
        pObject->Invalidate();
}

bool CacheCollection::Get(LONG lKey, std::shared_ptr<void>& pOut) const {
    const auto pObject = Find(lKey);
    return pObject && pObject->Get(pOut);
}
