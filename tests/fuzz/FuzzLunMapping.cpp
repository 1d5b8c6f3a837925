// The LUN mapping: the units of an adapter with three targets.
#include "tests/fuzz/Fuzz.h"

#include <algorithm>

#include "model/FcoeLUN.h"
#include "model/FcoeTarget.h"
#include "model/WwnText.h"

const FuzzedFamilies FUZZED_FAMILIES{.bMapping = true};

void Fuzz(DrawnLibrary& library, CHBAAPIInt&, CQelFcoeHBA& hba) {
    library.vecPorts = {UsualPort(0)};
    for (unsigned i = 0; i < 3; ++i)
        library.vecTargets.push_back(UsualTarget(i, library.vecPorts[0]));
    library.vecTargets[1].ScsiBusNumber = 1; // behind the device name in the record, and no terminator to it
    library.vecTargets[2].FcId = 1;

    std::vector<std::shared_ptr<CQelFcoeTarget>> vecTargets;
    FUZZ_CHECK(hba.GetTargets(vecTargets));
    FUZZ_CHECK(vecTargets.size() == library.vecTargets.size());
    for (std::size_t i = 0; i < vecTargets.size(); ++i) {
        const ORVAN_TARGET_ENTRY& target = library.vecTargets[i];
        library.vecMappingCalls.clear();
        std::vector<std::shared_ptr<CQelFcoeLUN>> vecLUNs;
        FUZZ_CHECK(vecTargets[i]->GetLUNs(vecLUNs));
        FUZZ_CHECK(library.vecMappingCalls.size() <= 2);
        const auto vecRecords = Records<QEL_FCOE_LUN>(vecLUNs);

        // All units of the target that a successful read counted, in their order, and no other.
        const auto& call = library.vecMappingCalls.back();
        std::vector<HBA_FCPSCSIENTRY> vecExpected;
        if (call.ulStatus == HBA_STATUS_OK && (call.ulCount <= 1 || library.vecMappingCalls.size() == 2))
            std::ranges::copy_if(call.Counted(), std::back_inserter(vecExpected), [&](const HBA_FCPSCSIENTRY& unit) {
                return unit.ScsiId.ScsiBusNumber == target.ScsiBusNumber &&
                       unit.ScsiId.ScsiTargetNumber == target.ScsiTargetNumber && unit.FcpId.FcId == target.FcId &&
                       std::memcmp(&unit.FcpId.PortWWN, &target.PortWWN, sizeof target.PortWWN) == 0;
            });
        FUZZ_CHECK(vecRecords.size() == vecExpected.size());
        for (std::size_t j = 0; j < vecRecords.size(); ++j) {
            const HBA_FCPSCSIENTRY& unit = vecExpected[j];
            const std::size_t nBytes = strnlen(unit.ScsiId.OSDeviceName, sizeof unit.ScsiId.OSDeviceName);
            FUZZ_CHECK(vecRecords[j].ulOsLun == unit.ScsiId.ScsiOSLun);
            // No code page makes more characters of a text than it has bytes, nor none of some.
            FUZZ_CHECK(vecRecords[j].strOsDeviceName.size() <= nBytes);
            FUZZ_CHECK(vecRecords[j].strOsDeviceName.empty() == (nBytes == 0));
            FUZZ_CHECK(vecRecords[j].strTargetPortWWN == WwnText(target.PortWWN.wwn));
        }
    }
}
