// The target list: the targets of an adapter with one port of every type.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>

#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/WwnText.h"

const FuzzedFamilies FUZZED_FAMILIES{.bTargets = true};

namespace {

// Whether a read of the list may have shown the entry that the record tells of.
bool WasListed(const DrawnLibrary& library, const QEL_FCOE_TARGET& record) {
    return std::ranges::any_of(library.vecTargetCalls, [&](const ListCall<ORVAN_TARGET_ENTRY>& call) {
        return call.ulStatus == HBA_STATUS_OK &&
               std::ranges::any_of(call.Counted(), [&](const ORVAN_TARGET_ENTRY& entry) {
                   return record.strPortWWN == WwnText(entry.PortWWN.wwn) &&
                          record.strInitiatorPortWWN == WwnText(entry.InitiatorPortWWN.wwn) &&
                          record.ulScsiBus == entry.ScsiBusNumber && record.ulScsiTarget == entry.ScsiTargetNumber &&
                          record.ulFcId == entry.FcId && record.ulNumber == entry.Number &&
                          record.ulPortType == entry.InitiatorPortType;
               });
    });
}

} // namespace

void Fuzz(DrawnLibrary& library, CHBAAPIInt&, CQelFcoeHBA& hba) {
    for (unsigned uType = 0; uType < 4; ++uType)
        library.vecPorts.push_back(UsualPort(uType, static_cast<HBA_UINT8>(uType)));

    std::vector<std::shared_ptr<CQelFcoePort>> vecPorts;
    FUZZ_CHECK(hba.GetPorts(vecPorts));
    FUZZ_CHECK(vecPorts.size() == library.vecPorts.size());
    for (const auto& pPort : vecPorts) {
        QEL_FCOE_PORT port;
        FUZZ_CHECK(pPort->Get(port));
        library.vecTargetCalls.clear();
        std::vector<std::shared_ptr<CQelFcoeTarget>> vecTargets;
        // FALSE: there was no memory for the list.
        if (!pPort->GetTargets(vecTargets))
            FUZZ_CHECK(vecTargets.empty());
        FUZZ_CHECK(library.vecTargetCalls.size() <= 2);
        const auto& call = library.vecTargetCalls.back();
        FUZZ_CHECK(vecTargets.size() <= std::min(call.ulRoom, call.ulCount));
        for (const QEL_FCOE_TARGET& record : Records<QEL_FCOE_TARGET>(vecTargets)) {
            FUZZ_CHECK(record.strInitiatorPortWWN == port.strPortWWN && record.ulPortType == port.ulPortType);
            FUZZ_CHECK(record.ulPortType != 3 || record.ulFcId == port.ulWordB);
            FUZZ_CHECK(WasListed(library, record));
        }
    }
}
