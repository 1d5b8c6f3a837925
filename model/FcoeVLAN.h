// One VLAN on which an FCoE adapter runs.
#pragma once

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"

// Threading: any thread, once it is constructed. SetupCache, and the first Get after it, which registers the record
// anew, only while no other thread uses the object.
class CQelFcoeVLAN : public CQelFcoeBase {
  public:
    // ulEntry: as in the library's list, identifier in the low 16 bits, state word in the high 16 bits.
    CQelFcoeVLAN(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter, ULONG ulEntry);
    ~CQelFcoeVLAN();

    // Registers the record as one that is read again when it has aged. The constructor's own record then takes its
    // place for good, so a record is read again only after another call.
    void SetupCache();

    [[nodiscard]] BOOL Get(QEL_FCOE_VLAN& vlan) const;
    // The reader behind the registered record. When the adapter has lost the VLAN or could not be asked, vlan stays as
    // it is; the record that is registered then reads empty until it has aged and the VLAN is back.
    void GetVLAN_HBA(QEL_FCOE_VLAN& vlan);

    // The adapter's VLANs. Returns their number as last known, and not whether there is a list: test both. The caller
    // frees the list with the C allocator; the pointer passed in is overwritten unseen.
    [[nodiscard]] static ULONG GetVlansList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_VLAN_LIST*& pList);

  private:
    void SetupVLAN(ULONG ulEntry, QEL_FCOE_VLAN& vlan);

    USHORT m_usVlanId = 0; // by which the VLAN is found again
};
