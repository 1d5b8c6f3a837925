// One logical unit behind one target.
#pragma once

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"

// What a unit does not share with the others of its target.
struct LunData {
    ULONG ulOsLun = 0;
    ULONG ulScsiBus = 0;
    ULONG ulScsiTarget = 0;
    CQelString strOsDeviceName;
    CQelString strCapacity;
    CQelString strBlockSize;
};

// Its record is read once, at construction: new readings need new objects.
// Threading: any thread. A unit that does not answer has a record with unknown capacity.
class CQelFcoeLUN : public CQelFcoeBase {
  public:
    // Sends READ CAPACITY from the initiator port to the unit that the entry describes.
    CQelFcoeLUN(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                std::shared_ptr<const TargetPath> pPath, const HBA_FCPSCSIENTRY& entry);
    ~CQelFcoeLUN();

    [[nodiscard]] BOOL Get(QEL_FCOE_LUN& lun) const;

    // The adapter's logical units, of all targets. A mapping passed in is freed first; the caller frees the one handed
    // out with the C allocator. FALSE when memory ran out. TRUE can come without a mapping.
    [[nodiscard]] static BOOL GetLUNSList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter,
                                              HBA_FCPTARGETMAPPING*& pMapping);

  private:
    void SetupLUN(HBA_HANDLE hAdapter, const HBA_FCPSCSIENTRY& entry);
    // Writes the texts of the two sizes. They stay as they are when the unit does not answer.
    void ReadCapacity(HBA_HANDLE hAdapter, const HBA_FCPID& unit, LunData& data) const;

    const std::shared_ptr<const TargetPath> m_pPath;
};
