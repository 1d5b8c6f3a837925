// The FC port list: the adapter's fabrics and their ports.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>

#include "model/FcoeFabric.h"
#include "model/FcoePort.h"
#include "model/WwnText.h"

const FuzzedFamilies FUZZED_FAMILIES{.bPorts = true};

namespace {

bool IsPhysical(const ORVAN_FC_PORT& port) {
    return port.PortType <= 1;
}

bool IsVirtual(const ORVAN_FC_PORT& port) {
    return port.PortType == 2 || port.PortType == 3;
}

// The ports of the list in their order, of the physical fabric and then of the virtual one.
std::vector<ORVAN_FC_PORT> ExpectedPorts(const std::vector<ListCall<ORVAN_FC_PORT>>& vecCalls) {
    std::vector<ORVAN_FC_PORT> vecExpected;
    // The first call counts, the second fills.
    if (vecCalls.size() < 2)
        return vecExpected;
    const auto& call = vecCalls.back();
    const std::vector<ORVAN_FC_PORT> vecCounted = call.Counted();
    // A list that could not be read stays as it is, and its first count stands.
    const auto nLooked =
        static_cast<std::ptrdiff_t>(call.ulStatus == HBA_STATUS_OK ? std::min(call.ulCount, call.ulRoom) : call.ulRoom);
    const auto pLookedEnd = call.vecEntries.begin() + nLooked;
    if (std::any_of(call.vecEntries.begin(), pLookedEnd, [](const auto& port) { return port.PortType == 0; }))
        std::ranges::copy_if(vecCounted, std::back_inserter(vecExpected), IsPhysical);
    if (std::any_of(call.vecEntries.begin(), pLookedEnd, IsVirtual))
        std::ranges::copy_if(vecCounted, std::back_inserter(vecExpected), IsVirtual);
    return vecExpected;
}

} // namespace

void Fuzz(DrawnLibrary& library, CHBAAPIInt&, CQelFcoeHBA& hba) {
    std::vector<std::shared_ptr<CQelFcoeFabric>> vecFabrics;
    FUZZ_CHECK(hba.GetFabrics(vecFabrics));
    FUZZ_CHECK(vecFabrics.size() <= 2);
    for (const QEL_FCOE_FABRIC& fabric : Records<QEL_FCOE_FABRIC>(vecFabrics))
        FUZZ_CHECK(fabric.ulKind <= 1 && fabric.strName.size() <= 20 && fabric.ulNumber <= 0xFFFF &&
                   fabric.ulEntryByte <= 0xFF);

    std::vector<std::shared_ptr<CQelFcoePort>> vecPorts;
    FUZZ_CHECK(hba.GetPorts(vecPorts));
    const std::vector<ORVAN_FC_PORT> vecExpected = ExpectedPorts(library.vecPortCalls);
    const auto vecRecords = Records<QEL_FCOE_PORT>(vecPorts);
    FUZZ_CHECK(vecRecords.size() == vecExpected.size());
    for (std::size_t i = 0; i < vecRecords.size(); ++i) {
        const QEL_FCOE_PORT& record = vecRecords[i];
        const ORVAN_FC_PORT& entry = vecExpected[i];
        FUZZ_CHECK(record.strPortWWN == WwnText(entry.PortWWN.wwn) && record.strNodeWWN == WwnText(entry.NodeWWN.wwn));
        FUZZ_CHECK(record.ulPortType == entry.PortType && record.ulWordA == entry.WordA &&
                   record.ulWordB == entry.WordB);
    }
    std::vector<std::shared_ptr<CQelFcoeTarget>> vecTargets;
    FUZZ_CHECK(hba.GetTargets(vecTargets) && vecTargets.empty());
}
