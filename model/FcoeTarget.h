// One target reached through one port.
#pragma once

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"
#include "model/FcoeLUN.h"

// What a target does not share with the others of its port.
struct TargetData {
    ORVAN_TARGET_ENTRY entry;
    CQelString strSerial;
    CQelString strVendor;
};

// Its record, vendor and serial number included, is read once, at construction; its logical units are read again
// whenever the list has aged.
// Threading: any thread, once it is constructed; SetupCache only while no other thread uses the object. What the
// library refuses leaves texts and lists empty.
class CQelFcoeTarget : public CQelFcoeBase {
  public:
    // Sends two INQUIRY commands to the target's LUN 0. The entry is not kept.
    CQelFcoeTarget(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                   std::shared_ptr<const PortPath> pPath, const ORVAN_TARGET_ENTRY& entry);
    ~CQelFcoeTarget();

    void SetupCache();

    [[nodiscard]] BOOL Get(QEL_FCOE_TARGET& target) const;
    // Appends the target's logical units.
    BOOL GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const;
    BOOL GetLUNs_Cache(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const;
    // The reader behind the cached list. Always TRUE: only the log tells that the mapping could not be read.
    BOOL GetLUNs_HBA(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const;

    // The adapter's targets, of all ports. A list passed in is freed first; the caller frees the one handed out with
    // the C allocator. FALSE when memory ran out. TRUE can come without a list.
    [[nodiscard]] static BOOL GetTargetsList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_TARGET_LIST*& pList);

  private:
    void SetupTarget(HBA_HANDLE hAdapter, const ORVAN_TARGET_ENTRY& entry);

    const std::shared_ptr<const PortPath> m_pPath;
};
