// Stands where orvanhapi.dll stands: a vendor library whose answers are drawn from the fuzzer's input.
//
// It keeps to the one rule without which no caller is safe - it writes no more than the caller says there is room for -
// and to no other: counts, statuses, sizes, texts and records are whatever the input says. Room that the caller speaks
// of is used to its last byte, so that the address sanitizer judges every size that the caller hands over.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include <windows.h>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tests/fuzz/Check.h"

// Which answers are drawn; the others are those of a well-behaved library with the contents of the lists below.
struct FuzzedFamilies {
    bool bBinding = false;    // functions, mutex, adapter name and handle
    bool bProperties = false; // attributes, statistics, properties, virtual-port calls, and the system's device data
    bool bPorts = false;
    bool bTargets = false;
    bool bMapping = false;
    bool bVlans = false;
    bool bScsi = false;
};

// One call of a list function, as it was answered.
template <class Entry> struct ListCall {
    HBA_STATUS ulStatus;
    HBA_UINT32 ulRoom;             // what the caller's count said
    HBA_UINT32 ulCount;            // the count as the call left it
    std::vector<Entry> vecEntries; // as many as there was room for

    // Those that a caller may look at.
    std::vector<Entry> Counted() const {
        return {vecEntries.begin(), vecEntries.begin() + static_cast<std::ptrdiff_t>(std::min(ulRoom, ulCount))};
    }
};

struct ScsiCall {
    HBA_STATUS ulStatus;
    std::array<HBA_UINT8, 260> abyResponse; // the whole buffer after the call
};

class DrawnLibrary {
  public:
    DrawnLibrary(FuzzedDataProvider& input, const FuzzedFamilies& families);
    ~DrawnLibrary();
    DrawnLibrary(const DrawnLibrary&) = delete;
    DrawnLibrary& operator=(const DrawnLibrary&) = delete;

    static DrawnLibrary& Current();

    // --- What the well-behaved answers are
    std::vector<ORVAN_FC_PORT> vecPorts;
    std::vector<ORVAN_TARGET_ENTRY> vecTargets;
    std::vector<HBA_FCPSCSIENTRY> vecMapping;
    std::vector<HBA_UINT32> vecVlans;

    // --- What was answered
    std::vector<ListCall<ORVAN_FC_PORT>> vecPortCalls;
    std::vector<ListCall<ORVAN_TARGET_ENTRY>> vecTargetCalls;
    std::vector<ListCall<HBA_FCPSCSIENTRY>> vecMappingCalls;
    std::vector<ListCall<HBA_UINT32>> vecVlanCalls;
    std::map<int, ScsiCall> mapInquiries;         // the last by its EVPD bit
    std::map<HBA_UINT64, ScsiCall> mapCapacities; // the last READ CAPACITY (10) by the unit's number
    std::map<HBA_UINT64, int> mapCapacityCalls;   // how many there were
    HBA_PORTATTRIBUTES portAttributes{};
    HBA_ADAPTERATTRIBUTES adapterAttributes{};
    HBA_PORTSTATISTICS statistics{};
    ORVAN_FC_NIC_PROPERTIES properties{};
    HBA_STATUS ulStatisticsStatus = HBA_STATUS_OK;
    bool bRecordsRead = false; // both attribute records were handed out by their last calls

    // --- Drawing
    HBA_UINT8 DrawByte() { return m_input.ConsumeIntegral<HBA_UINT8>(); }
    // True most of the time, and when the input is used up.
    bool DrawUsual();
    HBA_UINT32 DrawNumber();
    HBA_STATUS DrawStatus();
    std::string DrawText(std::size_t nMaximum);
    HBA_WWN DrawWwn();

    // --- For the functions behind the exports
    const FuzzedFamilies& Families() const { return m_families; }
    bool Has(int nFunction) const { return (m_ulMissing >> nFunction & 1) == 0; }
    // False once so many calls were made that every further one is refused: lists that multiply each other end.
    bool MayAnswer() { return ++m_nCalls <= MAXIMUM_CALLS; }
    void FillText(char* pszText, std::size_t nSize, std::string_view strStart = {});
    template <class Record> void FillRecord(Record& record) { m_input.ConsumeData(&record, sizeof record); }
    void FillResponse(void* pResponse, HBA_UINT32 ulRoom);
    template <class List, class Entry>
    HBA_STATUS AnswerList(List* pList, bool bFuzzed, const std::vector<Entry>& vecExisting,
                          std::vector<ListCall<Entry>>& vecCalls);

  private:
    static constexpr int MAXIMUM_CALLS = 300;
    // Lists are that long at most, or so long that no memory is to be had for them.
    static constexpr HBA_UINT32 LONGEST_LIST = 24;

    HBA_UINT32 DrawCount(HBA_UINT32 ulRoom);
    void Draw(ORVAN_FC_PORT& port);
    void Draw(ORVAN_TARGET_ENTRY& target);
    void Draw(HBA_FCPSCSIENTRY& unit);
    void Draw(HBA_UINT32& ulVlan);

    FuzzedDataProvider& m_input;
    const FuzzedFamilies m_families;
    HBA_UINT32 m_ulMissing = 0; // functions that the library lacks, a bit each
    int m_nCalls = 0;
};

template <class List, class Entry>
HBA_STATUS DrawnLibrary::AnswerList(List* pList, bool bFuzzed, const std::vector<Entry>& vecExisting,
                                    std::vector<ListCall<Entry>>& vecCalls) {
    const HBA_UINT32 ulRoom = pList->NumberOfEntries;
    // No caller has room for a count that takes more memory than there is.
    FUZZ_CHECK(ulRoom <= LONGEST_LIST + 1);
    ListCall<Entry> call{HBA_STATUS_ERROR_BUSY, ulRoom, ulRoom, std::vector<Entry>(ulRoom)};
    auto* const pEntries = reinterpret_cast<HBA_UINT8*>(pList) + offsetof(List, entry);
    if (MayAnswer()) {
        if (bFuzzed) {
            for (Entry& entry : call.vecEntries)
                Draw(entry);
            call.ulStatus = DrawStatus();
            call.ulCount = DrawCount(ulRoom);
        } else {
            std::copy_n(vecExisting.begin(), std::min<std::size_t>(ulRoom, vecExisting.size()),
                        call.vecEntries.begin());
            call.ulStatus = vecExisting.size() > ulRoom ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
            call.ulCount = static_cast<HBA_UINT32>(vecExisting.size());
        }
    }
    if (ulRoom != 0)
        std::memcpy(pEntries, call.vecEntries.data(), ulRoom * sizeof(Entry));
    pList->NumberOfEntries = call.ulCount;
    vecCalls.push_back(call);
    return call.ulStatus;
}

// Identifiers that drawn entries have most of the time, so that they match each other.
HBA_WWN UsualWwn(unsigned uNumber);
