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
// all adapters that support FCoE; the four operations below them refuse it. Of an unknown one nothing can be read.
// Vectors are appended to, never cleared.
// The caller context is handed to the core agent's wait for pending changes and not interpreted.
//
// Threading: every operation may be called from any thread, several at once; it runs on the calling thread. Threads in
// a single-threaded COM apartment cannot read the link status.
// Blocking: while the core agent applies a change; for the vendor library's cross-process mutex, at most 10 s each time
// and several times in one operation (docs/performance.md); as long as the library and the DCB service take.
// Errors: every operation returns TRUE or FALSE; details are in the diagnostic log. Nothing is thrown but
// std::bad_alloc, whoever threw it first. Exceptions of another compiler's run time pass through.
class CQelFcoeAgentIntf {
  public:
    FCOEAGNT_API virtual ~CQelFcoeAgentIntf();

    // TRUE does not mean that every adapter answered: what the vendor library refuses is missing, or is an empty record
    // of EnumerateHBAs, and only the log tells. TRUE with nothing appended also when FCoE is not installed, or the core
    // agent knows no adapter, or the vendor library is not loaded. FALSE, in practice, when the library threw an
    // exception; what the other adapters gave is in the vector all the same.
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

    // Forgets all adapters and unloads the vendor library; one that is in use goes with the last call that returns from
    // it. Always TRUE. GetFcoeAgent starts the agent again. To be called before the agent's module is freed:
    // FreeLibrary releases under the loader's lock, where a vendor library that waits for a thread of its own waits for
    // ever.
    virtual BOOL Uninstall(ULONG64 ullIgnored) = 0;

    // Creates an NPIV virtual port inside the core agent's configuration lock. strWWPN is the new port's name, or the
    // word "Auto" in any letter case; the generated name is then written back. A failure appends one entry to
    // vecErrors, but for an empty identifier, a lock that is refused, and a library that throws.
    virtual BOOL CreateVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                             ULONG& ulLockOwner) = 0;
    // Deletes an NPIV virtual port inside the core agent's configuration lock. Entries as of CreateVPort.
    virtual BOOL DeleteVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                             QEL_LOCK_REQUEST lockRequest) = 0;
    // Asks the library for an unused port name; strWWPN is empty when it gives none. vecErrors is never touched.
    virtual BOOL GenerateVPortWWPN(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                                   ULONG64 ullContext) = 0;
    // Has the library rescan the adapter's targets. TRUE, too, when the library cannot do that or is not loaded.
    virtual BOOL RefreshTargets(CQelString& strAdapter, ULONG64 ullContext) = 0;

    FCOEAGNT_API CQelFcoeAgentIntf();
    FCOEAGNT_API CQelFcoeAgentIntf(const CQelFcoeAgentIntf& other);
    FCOEAGNT_API CQelFcoeAgentIntf& operator=(const CQelFcoeAgentIntf& other);
};

// Initializes the agent, if that is still to be done, and returns it. Null when the agent's registry value is missing,
// cannot be read or names a file that is not loaded; and once when the core agent cannot be had: the next call returns
// the agent, which works without one. Throws std::bad_alloc as the operations do. May be called as often as the host
// likes, from any thread. Found with GetProcAddress(module, "GetFcoeAgent").
extern "C" FCOEAGNT_API CQelFcoeAgentIntf* GetFcoeAgent();

using PFN_GetFcoeAgent = decltype(&GetFcoeAgent);
