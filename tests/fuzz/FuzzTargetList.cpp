// The target list: the targets of an adapter with one port of every type.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <iterator>

#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/WwnText.h"

const FuzzedFamilies FUZZED_FAMILIES{.bTargets = true};

namespace {

// The targets that belong to the port, of a list that a successful read held as a whole.
std::vector<ORVAN_TARGET_ENTRY> Expected(const DrawnLibrary& library, const QEL_FCOE_PORT& port) {
    std::vector<ORVAN_TARGET_ENTRY> vecExpected;
    const auto& call = library.vecTargetCalls.back();
    if (call.ulStatus == HBA_STATUS_OK && (call.ulCount <= 1 || library.vecTargetCalls.size() == 2))
        std::ranges::copy_if(call.Counted(), std::back_inserter(vecExpected), [&](const ORVAN_TARGET_ENTRY& entry) {
            return WwnText(entry.InitiatorPortWWN) == port.strPortWWN && entry.InitiatorPortType == port.ulPortType &&
                   (port.ulPortType != 3 || entry.FcId == port.ulWordB);
        });
    return vecExpected;
}

void CheckRecord(const QEL_FCOE_TARGET& record, const ORVAN_TARGET_ENTRY& entry) {
    FUZZ_CHECK(record.strPortWWN == WwnText(entry.PortWWN));
    FUZZ_CHECK(record.strInitiatorPortWWN == WwnText(entry.InitiatorPortWWN));
    FUZZ_CHECK(record.ulScsiBus == entry.ScsiBusNumber && record.ulScsiTarget == entry.ScsiTargetNumber);
    FUZZ_CHECK(record.ulFcId == entry.FcId && record.ulNumber == entry.Number);
    FUZZ_CHECK(record.ulPortType == entry.InitiatorPortType);
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
        // TRUE also when the list could not be read or there was no memory for it.
        FUZZ_CHECK(pPort->GetTargets(vecTargets));
        FUZZ_CHECK(library.vecTargetCalls.size() <= 2);
        const auto vecExpected = Expected(library, port);
        const auto vecRecords = Records<QEL_FCOE_TARGET>(vecTargets);
        FUZZ_CHECK(vecRecords.size() == vecExpected.size());
        for (std::size_t i = 0; i < vecRecords.size(); ++i)
            CheckRecord(vecRecords[i], vecExpected[i]);
    }
}
