// What every object of the FCoE tree has: lock, library access, names, adapter handle and cached values.
#pragma once

#include <memory>
#include <type_traits>
#include <vector>

#include <windows.h>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/QelLock.h"
#include "hbaapi/HBAAPIInt.h"
#include "model/CacheCollection.h"
#include "model/CacheKeys.h"
#include "model/SharedPaths.h"

// Embedded as the first part of every object of the tree; not polymorphic.
//
// Threading: an object may be used by several threads. What an object changes after its construction is written and
// read under its lock; the cached values need none. Errors of the whole tree: what the vendor library refuses is
// logged, and each class says what becomes of it; what the library or memory exhaustion throws passes through. A reader
// that was left so is asked again by the next call.
class CQelFcoeBase {
  public:
    CQelFcoeBase(const CQelFcoeBase&) = delete;
    CQelFcoeBase& operator=(const CQelFcoeBase&) = delete;

    // The refresh routine around an object's reader, a member function that takes the value by reference: it has a
    // fresh value filled and stores that in the slot, whatever the reader reported. The result is the reader's; a
    // reader without one never fails.
    template <auto pfnReader> static constexpr auto Refresh();

  protected:
    // hAdapter: the adapter's handle in the library; 0 for an object that opens its own.
    CQelFcoeBase(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter);
    ~CQelFcoeBase();

    // The cached record; false when it cannot be had, and the output is then untouched.
    template <class Record> [[nodiscard]] bool CopyCached(CQelCacheKey<Record> key, Record& record) const;
    // Appends the objects of a cached list in their order; false as above.
    template <class Object>
    [[nodiscard]] bool AppendCached(CQelCacheKey<CQelObjectList<Object>> key, CQelObjectList<Object>& vecOut) const;

    // The adapter's handle in the library. Only the object that opened it changes it.
    [[nodiscard]] HBA_HANDLE GetHandle() const;

    mutable CQelLock m_csLock;
    // 1 once an attempt to open the library handle has run; for the reader of a dump.
    ULONG m_ulOpened QEL_GUARDED_BY(m_csLock);
    CHBAAPIInt* const m_pLibrary;
    const std::shared_ptr<const AdapterNames> m_pNames;
    HBA_HANDLE m_hAdapter QEL_GUARDED_BY(m_csLock); // 0: not open
    CacheCollection m_cache;
};

template <class Reader> struct ReaderTraits;
template <class Result, class Owner, class Cached> struct ReaderTraits<Result (Owner::*)(Cached&)> {
    using Object = Owner;
    using Value = Cached;
};
template <class Result, class Owner, class Cached>
struct ReaderTraits<Result (Owner::*)(Cached&) const> : ReaderTraits<Result (Owner::*)(Cached&)> {};

template <auto pfnReader> constexpr auto CQelFcoeBase::Refresh() {
    using Traits = ReaderTraits<decltype(pfnReader)>;
    return CQelCacheRefresh<typename Traits::Value>{[](void* pOwner, CacheSlot* pSlot) {
        if (!pOwner)
            return false;
        auto& object = static_cast<typename Traits::Object&>(*static_cast<CQelFcoeBase*>(pOwner));
        auto pValue = std::make_shared<typename Traits::Value>();
        bool bResult = true;
        if constexpr (std::is_void_v<decltype((object.*pfnReader)(*pValue))>)
            (object.*pfnReader)(*pValue);
        else
            bResult = (object.*pfnReader)(*pValue);
        pSlot->store(std::move(pValue));
        return bResult;
    }};
}

template <class Record> bool CQelFcoeBase::CopyCached(CQelCacheKey<Record> key, Record& record) const {
    std::shared_ptr<const Record> pRecord;
    if (!m_cache.Get(key, pRecord) || !pRecord)
        return false;
    record = *pRecord;
    return true;
}

template <class Object>
bool CQelFcoeBase::AppendCached(CQelCacheKey<CQelObjectList<Object>> key, CQelObjectList<Object>& vecOut) const {
    std::shared_ptr<const CQelObjectList<Object>> pList;
    if (!m_cache.Get(key, pList) || !pList)
        return false;
    vecOut.insert(vecOut.end(), pList->begin(), pList->end());
    return true;
}
