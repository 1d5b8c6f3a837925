// CQelFcoeHBA, one FCoE initiator adapter port as the vendor library sees it.
#pragma once

#include <memory>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeRecords.h"
#include "FcoeAgent/QelTypes.h"
#include "model/FcoeBase.h"

class CQelFcoeFabric;
class CQelFcoeLUN;
class CQelFcoePort;
class CQelFcoeTarget;
class CQelFcoeVLAN;
struct PciSlot;

// The root of an adapter's tree. Its name is the adapter's device identifier, a braced GUID.
//
// Public readers answer from the cache; the ..._HBA readers ask the library and fill it. Lists are appended to, never
// cleared. What the library refuses gives TRUE with an empty record or list, or with what could be read.
// Threading: any operation may be called from any thread. Each reader that asks the library reopens the adapter's
// handle first. Meanwhile the library may refuse another thread, which still reads by the old one: what it refused is
// missing in that thread's answer.
class CQelFcoeHBA : public CQelFcoeBase {
  public:
    CQelFcoeHBA(CHBAAPIInt* pLibrary, const CQelString& strName, const CQelString& strSecondName);
    ~CQelFcoeHBA();

    // The adapter's record; untouched when FALSE, empty when the library refused.
    [[nodiscard]] BOOL Get(QEL_FCOE_HBA& record);
    BOOL GetFabrics(std::vector<std::shared_ptr<CQelFcoeFabric>>& vecFabrics);
    BOOL GetVLANs(std::vector<std::shared_ptr<CQelFcoeVLAN>>& vecVLANs);
    BOOL GetLUNs(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs);
    // Gathered from the fabrics. FALSE when one of them failed; what the others gave is appended all the same.
    BOOL GetPorts(std::vector<std::shared_ptr<CQelFcoePort>>& vecPorts);
    BOOL GetTargets(std::vector<std::shared_ptr<CQelFcoeTarget>>& vecTargets);

    // Appends fifteen counters, read afresh. Always TRUE: a list that did not grow tells of a failed read.
    BOOL GetStatistics(std::vector<QEL_FCOE_STATISTIC>& vecStatistics);

    // Has the library rescan the adapter's targets.
    BOOL RefreshTargets();

    // Creates an NPIV virtual port named strWWPN, or, when that is the word for an automatic name, one with a name that
    // the library generates and that is written back. Every refusal adds one entry to vecErrors.
    BOOL CreateVPort(CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors);
    BOOL DeleteVPort(const CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors);
    // An unused port name; empty when FALSE.
    BOOL GenerateVPortWWPN(CQelString& strWWPN);

    // Makes the next readers ask the library, whatever the age of what is cached.
    void InvalidateCache();

  private:
    // Opens the library's adapter handle anew, which replaces one that a driver reload made stale. Returns the handle;
    // 0 when the library refused.
    HBA_HANDLE Open();
    // Closes the handle at the object's end. An exception of the library ends here, in the log.
    void Close() noexcept;
    CQelString GetAdapterName() const;
    // work(key, refresh routine) for each value that the adapter caches.
    template <class Work> void ForEachCachedValue(Work work);
    void SetupCache();

    void GetHBA(QEL_FCOE_HBA& record);
    void GetFabrics_HBA(std::vector<std::shared_ptr<CQelFcoeFabric>>& vecFabrics);
    void GetVLANs_HBA(std::vector<std::shared_ptr<CQelFcoeVLAN>>& vecVLANs);
    void GetLUNs_HBA(std::vector<std::shared_ptr<CQelFcoeLUN>>& vecLUNs);

    void GetPCISlotInfo(PciSlot& slot);
    // The resource of the FCoE link's text.
    UINT GetLinkStatus(HBA_PORTSTATE ulPortState) const;

    void AddError(std::vector<QEL_ERROR_ENTRY>& vecErrors, ULONG ulNumber,
                  std::vector<CQelString> vecArguments = {}) const;
    // Whether the adapter's first port of that name has port type 0.
    bool IsPortOfTypeZero(const CQelString& strWWPN);

    CQelString m_strAdapterName QEL_GUARDED_BY(m_csLock); // the library's name of the adapter
};
