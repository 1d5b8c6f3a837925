// The cached values of one object, by key.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <windows.h>

#include "FcoeAgent/QelString.h"
#include "model/CacheObject.h"

// A key: its number, and the type of the value that it always holds.
template <class T> struct CQelCacheKey { LONG lKey; };

// A refresh routine that leaves nothing but values of the type in its slot.
template <class T> struct CQelCacheRefresh { CacheRefresh pfnRefresh; };

// Threading: Has, Invalidate and Get may be called from any thread. Keys are registered while the owner is constructed,
// or by the refresh routine of the very key, and not beside other calls.
class CacheCollection {
  public:
    // pOwner is handed to the refresh routines.
    CacheCollection(void* pOwner, std::shared_ptr<const CQelString> pName);
    CacheCollection(const CacheCollection&) = delete;
    CacheCollection& operator=(const CacheCollection&) = delete;

    // Registers a refreshing value (a fixed one); it takes the place of what the key held.
    template <class T>
    void AddCache(CQelCacheKey<T> key, ULONG ulTimeout, std::type_identity_t<CQelCacheRefresh<T>> refresh) {
        Add(key.lKey, ulTimeout, refresh.pfnRefresh);
    }
    template <class T> void AddCache(CQelCacheKey<T> key, std::type_identity_t<std::shared_ptr<T>> pValue) {
        Add(key.lKey, std::move(pValue));
    }

    template <class T> [[nodiscard]] bool Has(CQelCacheKey<T> key) const { return Find(key.lKey) != nullptr; }
    // An absent key is ignored.
    template <class T> void Invalidate(CQelCacheKey<T> key) { Invalidate(key.lKey); }
    // False when the key is absent or its refresh failed; the output is then untouched. What is yielded is shared with
    // other readers.
    template <class T>
    [[nodiscard]] bool Get(CQelCacheKey<T> key, std::type_identity_t<std::shared_ptr<const T>>& pOut) const {
        std::shared_ptr<void> pValue;
        if (!Get(key.lKey, pValue))
            return false;
        pOut = std::static_pointer_cast<const T>(std::move(pValue));
        return true;
    }

    const CQelString& GetName() const { return *m_pName; }

  private:
    using Entry = std::pair<LONG, std::shared_ptr<CacheObject>>;

    void Add(LONG lKey, ULONG ulTimeout, CacheRefresh pfnRefresh);
    void Add(LONG lKey, std::shared_ptr<void> pValue);
    void Invalidate(LONG lKey);
    bool Get(LONG lKey, std::shared_ptr<void>& pOut) const;

    std::shared_ptr<CacheObject> Find(LONG lKey) const;
    void Put(LONG lKey, std::shared_ptr<CacheObject> pObject);

    void* m_pOwner;
    std::shared_ptr<const CQelString> m_pName; // the owner's, for the reader of a dump
    // A key stands once. An ordered map would cost each of thousands of units, which have one entry, 56 bytes more.
    std::vector<Entry> m_vecEntries;
};
