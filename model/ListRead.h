// Reading the vendor library's counted lists: target list, LUN mapping, VLAN list.
//
// How long a list is is not known beforehand, so one entry is asked for first; when the library answers that more
// exist, it is asked once more with room for all of them. What it answers then is final.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <type_traits>
#include <utility>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"
#include "hbaapi/HBAAPIInt.h"

// What distinguishes one list from another: the operation that reads it, its sizes in bytes, and its messages.
template <class List> struct CQelListKind {
    BOOL (CHBAAPIInt::*pfnRead)(HBA_HANDLE hAdapter, List* pList, BOOL& bMoreData, ULONG& ulCount);
    ULONG64 ullEntrySize;          // what each entry after the first adds to a buffer
    bool bEmptyList;               // no entries at all: a list with count 0 rather than no list
    const wchar_t* pszProbeFailed; // with the list's count and the reported count
    const wchar_t* pszNoMemoryForAll;
    const wchar_t* pszRetryFailed; // as pszProbeFailed
    const wchar_t* pszSucceeded;   // with the reported count
    const wchar_t* pszNone;
    int nNoneLines; // how often pszNone is written
    const wchar_t* pszOne;
    const wchar_t* pszNoMemoryForOne;
};

template <class List> struct CQelListResult {
    CQelAllocation<List> list; // its count never exceeds the entries that it holds
    ULONG ulCount = 0;         // as last known; may be positive without a list
    BOOL bMemory = TRUE;       // FALSE: memory ran out
};

// The entries of a list; none without a list.
template <class List> auto ListEntries(const List* pList) {
    using Entry = std::remove_extent_t<decltype(List::entry)>;
    return pList ? std::span<const Entry>(pList->entry, pList->NumberOfEntries) : std::span<const Entry>();
}

// A cleared list with room for ulCount entries, at least one. Empty when memory runs out, and when the size does not
// fit 32 bits.
template <class List> CQelAllocation<List> AllocateList(ULONG ulCount, ULONG64 ullEntrySize) {
    const ULONG64 ullSize = sizeof(List) + (std::max<ULONG>(ulCount, 1) - 1) * ullEntrySize;
    CQelAllocation<List> list;
    if (ullSize <= UINT32_MAX)
        list.Reset(static_cast<List*>(std::calloc(1, ullSize)));
    if (list)
        list.Get()->NumberOfEntries = ulCount;
    return list;
}

// The retry, with room for the count that the probe reported.
template <class List>
void ReadWholeList(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, const CQelListKind<List>& kind,
                   CQelListResult<List>& result) {
    const ULONG ulCapacity = result.ulCount;
    auto list = AllocateList<List>(ulCapacity, kind.ullEntrySize);
    if (!list) {
        QEL_PRINT(kind.pszNoMemoryForAll);
        result.bMemory = FALSE;
        return;
    }
    BOOL bMoreData = FALSE;
    if (!(pLibrary->*kind.pfnRead)(hAdapter, list.Get(), bMoreData, result.ulCount)) {
        QEL_PRINT(kind.pszRetryFailed, list.Get()->NumberOfEntries, result.ulCount);
        return;
    }
    // Entries that were added since the probe have no room in this buffer, though the library may count them.
    list.Get()->NumberOfEntries = std::min<ULONG>(list.Get()->NumberOfEntries, ulCapacity);
    result.ulCount = list.Get()->NumberOfEntries;
    result.list = std::move(list);
}

template <class List>
CQelListResult<List> ReadList(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, const CQelListKind<List>& kind) {
    CQelListResult<List> result;
    List probe{};
    probe.NumberOfEntries = 1;
    BOOL bMoreData = FALSE;
    if (!(pLibrary->*kind.pfnRead)(hAdapter, &probe, bMoreData, result.ulCount)) {
        QEL_PRINT(kind.pszProbeFailed, probe.NumberOfEntries, result.ulCount);
        if (bMoreData)
            ReadWholeList(pLibrary, hAdapter, kind, result);
        return result;
    }
    QEL_PRINT(kind.pszSucceeded, result.ulCount);
    if (result.ulCount == 0) {
        for (int i = 0; i < kind.nNoneLines; ++i)
            QEL_PRINT(kind.pszNone);
        if (kind.bEmptyList) {
            result.list = AllocateList<List>(0, kind.ullEntrySize);
            result.bMemory = static_cast<bool>(result.list);
        }
    } else if (result.ulCount == 1) {
        QEL_PRINT(kind.pszOne);
        result.list = AllocateList<List>(1, kind.ullEntrySize);
        if (result.list) {
            *result.list.Get() = probe;
        } else {
            QEL_PRINT(kind.pszNoMemoryForOne);
            result.bMemory = FALSE;
        }
    }
    // A success with more entries than the probe could hold is a contradiction: the count stands, without a list.
    return result;
}
