// One fabric of an adapter: its physical ports, or its NPIV virtual ports.
#pragma once

#include <optional>

#include "FcoeAgent/FcoeRecords.h"
#include "model/FcoeBase.h"
#include "model/FcoePort.h"

// Complete once it is constructed; a fresh view needs a new object.
// Threading: any thread.
class CQelFcoeFabric : public CQelFcoeBase {
  public:
    static constexpr ULONG KIND_PHYSICAL = 0;
    static constexpr ULONG KIND_VIRTUAL = 1;

    // The kind of the fabric that a port of the library's list belongs to; none for one of an unknown type.
    [[nodiscard]] static std::optional<ULONG> KindOf(const ORVAN_FC_PORT& port);

    // pPorts: the adapter's whole port list, from which the fabric takes the ports of its kind; not kept.
    CQelFcoeFabric(CHBAAPIInt* pLibrary, std::shared_ptr<const AdapterNames> pNames, HBA_HANDLE hAdapter,
                   const ORVAN_FC_PORT_LIST* pPorts, ULONG ulKind);
    ~CQelFcoeFabric();

    [[nodiscard]] BOOL Get(QEL_FCOE_FABRIC& fabric) const;
    // Each appends in the order of the ports, never clears. FALSE when a level above failed or any one of its objects
    // did; what the others gave is appended all the same.
    BOOL GetPorts(std::vector<std::shared_ptr<CQelFcoePort>>& vecPorts) const;
    BOOL GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets) const;
    BOOL GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs) const;

  private:
    void SetupFabric(HBA_HANDLE hAdapter, const ORVAN_FC_PORT_LIST* pPorts, ULONG ulKind);

    CQelString m_strFabricText; // always empty
};
