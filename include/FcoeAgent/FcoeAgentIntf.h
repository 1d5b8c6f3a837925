// The agent's interface to its host, and the one C-style export that yields it.
#pragma once

#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeRecords.h"
#include "FcoeAgent/QelExport.h"
#include "FcoeAgent/QelTypes.h"

// One object per process; the agent owns it, the host never deletes it.
//
// Adapter identifiers are texts of the core agent's adapter list. In the seven enumerations an empty identifier means
// all adapters that support FCoE; the four operations below them refuse it.
// Vectors are appended to, never cleared.
// The caller context is handed to the core agent's wait for pending changes and not interpreted.
//
// Threading: every operation may be called from any thread, several at once; it runs on the calling thread. An
// operation may block while the core agent applies a change, and up to 10 s for the vendor library's cross-process
// mutex.
// Errors: every operation returns TRUE or FALSE; details are in the diagnostic log. Only memory exhaustion is thrown.
class CQelFcoeAgentIntf {
  public:
    FCOEAGNT_API virtual ~CQelFcoeAgentIntf();

    // FALSE when at least one adapter failed; what the others gave is in the vector all the same. When FCoE is not
    // installed, or the core agent knows no adapter, the answer is TRUE with nothing appended.
    virtual BOOL EnumerateHBAs(const CQelString& strAdapter, std::vector<QEL_FCOE_HBA>& vecHBAs,
                               ULONG64 ullContext) = 0;
    virtual BOOL EnumerateFabrics(CQelString& strAdapter, std::vector<QEL_FCOE_FABRIC>& vecFabrics,
                                  ULONG64 ullContext) = 0;
    virtual BOOL EnumeratePorts(CQelString& strAdapter, std::vector<QEL_FCOE_PORT>& vecPorts, ULONG64 ullContext) = 0;
    virtual BOOL EnumerateTargets(CQelString& strAdapter, std::vector<QEL_FCOE_TARGET>& vecTargets,
                                  ULONG64 ullContext) = 0;
    virtual BOOL EnumerateVLANs(CQelString& strAdapter, std::vector<QEL_FCOE_VLAN>& vecVLANs, ULONG64 ullContext) = 0;
    virtual BOOL EnumerateLUNs(CQelString& strAdapter, std::vector<QEL_FCOE_LUN>& vecLUNs, ULONG64 ullContext) = 0;
    // Fifteen entries per adapter; none for an adapter whose counters cannot be read, and the answer stays TRUE.
    virtual BOOL EnumerateStatistics(CQelString& strAdapter, std::vector<QEL_FCOE_STATISTIC>& vecStatistics,
                                     ULONG64 ullContext) = 0;

    // Forgets all adapters and unloads the vendor library. Always TRUE. GetFcoeAgent starts the agent again.
    virtual BOOL Uninstall(ULONG64 ullIgnored) = 0;

    // Creates an NPIV virtual port inside the core agent's configuration lock. strWWPN is the new port's name, or the
    // word "Auto" in any letter case; the generated name is then written back. Every refusal appends one entry to
    // vecErrors, except that of the lock.
    virtual BOOL CreateVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                             ULONG& ulLockOwner) = 0;
    // Deletes an NPIV virtual port inside the core agent's configuration lock.
    virtual BOOL DeleteVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                             QEL_LOCK_REQUEST lockRequest) = 0;
    // Asks the library for an unused port name; vecErrors is never touched.
    virtual BOOL GenerateVPortWWPN(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                                   ULONG64 ullContext) = 0;
    // Has the library rescan the adapter's targets.
    virtual BOOL RefreshTargets(CQelString& strAdapter, ULONG64 ullContext) = 0;

    FCOEAGNT_API CQelFcoeAgentIntf();
    FCOEAGNT_API CQelFcoeAgentIntf(const CQelFcoeAgentIntf& other);
    FCOEAGNT_API CQelFcoeAgentIntf& operator=(const CQelFcoeAgentIntf& other);
};

// Initializes the agent, if that is still to be done, and returns it; null when the agent's registry value is missing
// or names another file, or when the core agent cannot be had. May be called as often as the host likes, from any
// thread. Found with GetProcAddress(module, "GetFcoeAgent").
extern "C" FCOEAGNT_API CQelFcoeAgentIntf* GetFcoeAgent();

using PFN_GetFcoeAgent = decltype(&GetFcoeAgent);
