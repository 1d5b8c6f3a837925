#include "model/CacheCollection.h"

#include <utility>

CacheCollection::CacheCollection(void* pOwner, std::shared_ptr<const CQelString> pName)
    : m_pOwner(pOwner), m_pName(std::move(pName)) {}

void CacheCollection::Add(LONG lKey, ULONG ulTimeout, CacheRefresh pfnRefresh) {
    Put(std::make_shared<Entry>(lKey, m_pOwner, ulTimeout, pfnRefresh));
}

void CacheCollection::Add(LONG lKey, std::shared_ptr<void> pValue) {
    Put(std::make_shared<Entry>(lKey, std::move(pValue)));
}

void CacheCollection::Put(std::shared_ptr<Entry> pEntry) {
    Remove(pEntry->lKey);
    pEntry->pNext = std::move(m_pFirst);
    m_pFirst = std::move(pEntry);
}

void CacheCollection::Remove(LONG lKey) {
    for (auto* ppEntry = &m_pFirst; *ppEntry; ppEntry = &(*ppEntry)->pNext)
        if ((*ppEntry)->lKey == lKey) {
            *ppEntry = std::shared_ptr<Entry>((*ppEntry)->pNext);
            return;
        }
}

// Shared: what a key held may be replaced while it is used.
std::shared_ptr<CacheCollection::Entry> CacheCollection::Find(LONG lKey) const {
    for (const auto* ppEntry = &m_pFirst; *ppEntry; ppEntry = &(*ppEntry)->pNext)
        if ((*ppEntry)->lKey == lKey)
            return *ppEntry;
    return nullptr;
}

void CacheCollection::Invalidate(LONG lKey) {
    if (const auto pEntry = Find(lKey))
        pEntry->object.Invalidate();
}

bool CacheCollection::Get(LONG lKey, std::shared_ptr<void>& pOut) const {
    const auto pEntry = Find(lKey); // held: the refresh routine may register its own key anew
    return pEntry && pEntry->object.Get(pOut);
}
