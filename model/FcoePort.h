// One FC port of an adapter: physical, or an NPIV virtual port.
#pragma once

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"
#include "model/FcoeTarget.h"

// Its record is fixed at construction; its targets are read again whenever the list has aged.
// Threading: any thread, once it is constructed; SetupCache and SetupPort only while no other thread uses the object.
// What the library refuses leaves the list empty.
class CQelFcoePort : public CQelFcoeBase {
  public:
    // Values of ORVAN_FC_PORT::PortType.
    static constexpr ULONG TYPE_PHYSICAL = 0;
    static constexpr ULONG TYPE_PHYSICAL_1 = 1; // physical as well, but neither makes nor names a fabric
    static constexpr ULONG TYPE_VIRTUAL = 2;
    static constexpr ULONG TYPE_VIRTUAL_ADDRESSED = 3; // its targets also name its FC address

    // The entry is not kept.
    CQelFcoePort(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                 const CQelString& strFabricName, const ORVAN_FC_PORT& entry);
    ~CQelFcoePort();

    void SetupCache();
    void SetupPort(const CQelString& strFabricName, const ORVAN_FC_PORT& entry);

    [[nodiscard]] BOOL Get(QEL_FCOE_PORT& port) const;
    // Appends the targets that the port reaches.
    BOOL GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const;
    // The reader behind the cached list. TRUE with nothing appended when the adapter's targets cannot be read.
    BOOL GetTargets_HBA(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const;

    // The adapter's ports. Returns their number, and not whether there is a list: test both. The list's own count and
    // the returned one never exceed the entries that it holds. The caller frees the list with the C allocator; the
    // pointer passed in is overwritten unseen.
    [[nodiscard]] static LONG GetPortsList_HBA(CHBAAPIInt* pLibrary, HBA_HANDLE hAdapter, ORVAN_FC_PORT_LIST*& pList);

  private:
    const CQelString m_strFabricName; // empty while the fabric had no name
};
