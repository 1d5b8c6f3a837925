// CQelFcoeAgentWin, the agent behind the host's interface.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include <windows.h>

#include "Common/Src/QelNetAgentPvt.h"
#include "FcoeAgent/FcoeAgentIntf.h"
#include "FcoeAgent/QelLock.h"
#include "hbaapi/HBAAPIInt.h"
#include "model/FcoeHBA.h"

// Finds the adapters' HBA objects and has them do what the host asks.
//
// Threading: every operation may be called from any thread. The agent lock is held while an HBA object is made, which
// opens its adapter, and while Uninstall lets go of the objects, which closes those that nobody else holds; not while
// one works. Locks nest in this order: the agent lock, then that of the CQelNetAgentPvt base.
class CQelFcoeAgentWin : public CQelFcoeAgentIntf, public CQelNetAgentPvt {
  public:
    // Opens the module's diagnostic log.
    CQelFcoeAgentWin();
    CQelFcoeAgentWin(const CQelFcoeAgentWin&) = delete;
    CQelFcoeAgentWin& operator=(const CQelFcoeAgentWin&) = delete;
    ~CQelFcoeAgentWin() override;

    // Finds the module's registration, binds the vendor library and the core agent. FALSE once when there is no core
    // agent: the agent counts as initialized from then on.
    BOOL Initialize() QEL_EXCLUDES(m_csAgent);

    BOOL EnumerateHBAs(const CQelString& strAdapter, std::vector<QEL_FCOE_HBA>& vecHBAs, ULONG64 ullContext) override;
    BOOL EnumerateFabrics(CQelString& strAdapter, std::vector<QEL_FCOE_FABRIC>& vecFabrics,
                          ULONG64 ullContext) override;
    BOOL EnumeratePorts(CQelString& strAdapter, std::vector<QEL_FCOE_PORT>& vecPorts, ULONG64 ullContext) override;
    BOOL EnumerateTargets(CQelString& strAdapter, std::vector<QEL_FCOE_TARGET>& vecTargets,
                          ULONG64 ullContext) override;
    BOOL EnumerateVLANs(CQelString& strAdapter, std::vector<QEL_FCOE_VLAN>& vecVLANs, ULONG64 ullContext) override;
    BOOL EnumerateLUNs(CQelString& strAdapter, std::vector<QEL_FCOE_LUN>& vecLUNs, ULONG64 ullContext) override;
    BOOL EnumerateStatistics(CQelString& strAdapter, std::vector<QEL_FCOE_STATISTIC>& vecStatistics,
                             ULONG64 ullContext) override;
    BOOL Uninstall(ULONG64 ullIgnored) override QEL_EXCLUDES(m_csAgent);
    BOOL CreateVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                     ULONG& ulLockOwner) override;
    BOOL DeleteVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                     QEL_LOCK_REQUEST lockRequest) override;
    BOOL GenerateVPortWWPN(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                           ULONG64 ullContext) override;
    BOOL RefreshTargets(CQelString& strAdapter, ULONG64 ullContext) override;

    // Replaces the list by the identifiers of the adapters that support FCoE. TRUE always; the list is empty when FCoE
    // is not installed or the core agent does not answer.
    BOOL GetAdaptersThatSupportFCOE(std::vector<CQelString>& vecAdapters, ULONG64 ullContext);
    // The adapter's HBA object, made on first use; null when the vendor library was never opened.
    std::shared_ptr<CQelFcoeHBA> GetHBAObject(const CQelString& strAdapter) QEL_EXCLUDES(m_csAgent);

  protected:
    CQelLock m_csAgent;
    BOOL m_bInitialized QEL_GUARDED_BY(m_csAgent) = FALSE;
    CHBAAPIInt* m_pLibrary QEL_GUARDED_BY(m_csAgent) = nullptr;
    std::map<CQelString, std::shared_ptr<CQelFcoeHBA>> m_mapHBAs QEL_GUARDED_BY(m_csAgent);
    // Every library access object of the agent's life, the last one in use. An HBA object that a caller still holds
    // when the agent is uninstalled and started again works through the one it was made with.
    std::vector<std::unique_ptr<CHBAAPIInt>> m_vecLibraries QEL_GUARDED_BY(m_csAgent);

  private:
    // The operations' common shapes; each opens the operation's trace.
    template <class Work>
    BOOL ForEachHBA(const wchar_t* pszOperation, const wchar_t* pszFailure, const CQelString& strAdapter,
                    ULONG64 ullContext, Work work) QEL_EXCLUDES(m_csAgent);
    template <class Record, class Object>
    BOOL EnumerateList(const wchar_t* pszOperation, const wchar_t* pszFailure,
                       BOOL (CQelFcoeHBA::*pfnGetObjects)(std::vector<std::shared_ptr<Object>>&),
                       const CQelString& strAdapter, std::vector<Record>& vecRecords, ULONG64 ullContext)
        QEL_EXCLUDES(m_csAgent);
    template <class Work>
    BOOL ChangeVPort(const wchar_t* pszOperation, const wchar_t* pszLockFailure, const CQelString& strAdapter,
                     QEL_LOCK_REQUEST request, Work work) QEL_EXCLUDES(m_csAgent);
    template <class Work>
    BOOL AfterApply(const wchar_t* pszOperation, const CQelString& strAdapter, ULONG64 ullContext, Work work)
        QEL_EXCLUDES(m_csAgent);
    template <class Work>
    BOOL WorkOnHBA(const wchar_t* pszOperation, const CQelString& strAdapter, Work work) QEL_EXCLUDES(m_csAgent);

    // Wants no memory, and an adapter that throws while it is closed throws no further than its object.
    void ShutDown() noexcept QEL_REQUIRES(m_csAgent);
};
