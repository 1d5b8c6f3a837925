// The cached values of one object, by key.
#pragma once

#include <memory>
#include <utility>

#include <windows.h>

#include "model/CacheObject.h"
#include "model/SharedText.h"

// Threading: Has, Invalidate and Get may be called from any thread. Keys are registered while the owner is constructed,
// or by the refresh routine of the very key, and not beside other calls.
class CacheCollection {
  public:
    // pOwner is handed to the refresh routines.
    CacheCollection(void* pOwner, const CQelSharedText& strName);
    CacheCollection(const CacheCollection&) = delete;
    CacheCollection& operator=(const CacheCollection&) = delete;

    // Registers a refreshing value (a fixed one); it takes the place of what the key held.
    void AddCache(LONG lKey, ULONG ulTimeout, CacheRefresh pfnRefresh);
    void AddCache(LONG lKey, std::shared_ptr<void> pValue);

    bool Has(LONG lKey) const;
    // An absent key is ignored.
    void Invalidate(LONG lKey);
    // False when the key is absent or its refresh failed; the output is then untouched.
    bool Get(LONG lKey, std::shared_ptr<void>& pOut) const;

    // The same, with the type that the key holds.
    template <class T> bool Get(LONG lKey, std::shared_ptr<T>& pOut) const {
        std::shared_ptr<void> pValue;
        if (!Get(lKey, pValue))
            return false;
        pOut = std::static_pointer_cast<T>(std::move(pValue));
        return true;
    }

    const CQelSharedText& GetName() const { return m_strName; }

  private:
    // One or a few, newest first; a chain, because every object of the tree has a collection and most have one entry.
    struct Entry {
        template <class... Args>
        explicit Entry(LONG lNewKey, Args&&... args) : lKey(lNewKey), object(std::forward<Args>(args)...) {}

        const LONG lKey;
        CacheObject object;
        std::shared_ptr<Entry> pNext;
    };

    std::shared_ptr<Entry> Find(LONG lKey) const;
    void Put(std::shared_ptr<Entry> pEntry); // takes the place of what the key held
    void Remove(LONG lKey);

    void* m_pOwner;
    CQelSharedText m_strName; // the owner's, for the reader of a dump
    std::shared_ptr<Entry> m_pFirst;
};
