// One logical unit behind one target.
#pragma once

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"

// Its record is read once, at construction: new readings need new objects.
// Threading: any thread. Errors: a unit that does not answer has a record with unknown capacity; only memory exhaustion
// is thrown.
class CQelFcoeLUN : public CQelFcoeBase {
  public:
    // Sends READ CAPACITY from the initiator port to the unit that the entry describes.
    CQelFcoeLUN(CHBAAPIInt* pLibrary, const CQelString& strName, const CQelString& strSecondName, HBA_HANDLE hAdapter,
                const CQelString& strFabricName, const CQelString& strOwningPortWWN, const CQelString& strTargetPortWWN,
                const HBA_WWN& initiatorPortWWN, const HBA_FCPSCSIENTRY& entry);
    ~CQelFcoeLUN();

    BOOL Get(QEL_FCOE_LUN& lun) const;

    // The adapter's logical units, of all targets. A mapping passed in is freed first; the caller frees the one handed
    // out with the C allocator. FALSE when memory ran out. TRUE can come without a mapping.
    static BOOL GetLUNSList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, HBA_FCPTARGETMAPPING*& pMapping);

  private:
    void ReadCapacity(const HBA_WWN& initiatorPortWWN, const HBA_FCPID& unit, QEL_FCOE_LUN& lun) const;
};
