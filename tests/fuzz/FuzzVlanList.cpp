// The VLAN list: the adapter's VLANs, and each of them read again later.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <string>

#include "model/CacheKeys.h"
#include "model/FcoeVLAN.h"
#include "tests/fuzz/native/Neighbours.h"

const FuzzedFamilies FUZZED_FAMILIES{.bVlans = true};

namespace {

// The entries that the last read showed: those of a success that held them all, and the probe's only one.
std::vector<HBA_UINT32> Shown(const std::vector<ListCall<HBA_UINT32>>& vecCalls) {
    const auto& call = vecCalls.back();
    return call.ulStatus == HBA_STATUS_OK && (call.ulCount <= 1 || vecCalls.size() == 2) ? call.Counted()
                                                                                         : std::vector<HBA_UINT32>();
}

void CheckRecord(const QEL_FCOE_VLAN& record, HBA_UINT32 ulEntry) {
    FUZZ_CHECK(record.ulVlanId == (ulEntry & 0xFFFF) && record.ulState == ulEntry >> 16);
    FUZZ_CHECK(record.strName == L"VLAN " + std::to_wstring(ulEntry & 0xFFFF));
    FUZZ_CHECK(record.strState == (ulEntry >> 16 == 1 ? L"Active" : L"Inactive"));
}

} // namespace

void Fuzz(DrawnLibrary& library, CHBAAPIInt&, CQelFcoeHBA& hba) {
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vecVLANs;
    FUZZ_CHECK(hba.GetVLANs(vecVLANs));
    FUZZ_CHECK(library.vecVlanCalls.size() <= 2);
    const std::vector<HBA_UINT32> vecShown = Shown(library.vecVlanCalls);
    FUZZ_CHECK(vecVLANs.size() == vecShown.size());
    for (std::size_t i = 0; i < vecShown.size(); ++i) {
        QEL_FCOE_VLAN record;
        FUZZ_CHECK(vecVLANs[i]->Get(record));
        CheckRecord(record, vecShown[i]);
    }

    // The record is fixed: it shows the same, whatever the library would answer, until it is registered to be read
    // again.
    native::SetTickCount(GetTickCount() + CachePeriod::VLAN + 1);
    for (std::size_t i = 0; i < vecVLANs.size(); ++i) {
        QEL_FCOE_VLAN record;
        FUZZ_CHECK(vecVLANs[i]->Get(record));
        CheckRecord(record, vecShown[i]);
        vecVLANs[i]->SetupCache();
        library.vecVlanCalls.clear();
        QEL_FCOE_VLAN read;
        FUZZ_CHECK(vecVLANs[i]->Get(read));
        const std::vector<HBA_UINT32> vecNow = Shown(library.vecVlanCalls);
        const auto pNow = std::ranges::find_if(
            vecNow, [&](HBA_UINT32 ulEntry) { return (ulEntry & 0xFFFF) == (vecShown[i] & 0xFFFF); });
        if (pNow != vecNow.end())
            CheckRecord(read, *pNow);
        else
            FUZZ_CHECK(read.strName.empty() && read.ulVlanId == 0);
    }
}
