// Virtual ports, port names and the target rescan.
#include "Common/Src/Containment.h"
#include "FcoeAgent/QelDebug.h"
#include "agent/FcoeAgentWin.h"

namespace {
constexpr wchar_t SOURCE_FILE[] = L"agent\\VirtualPorts";
}

// What work(HBA) yields for the adapter; FALSE when it has no object, and when an exception ends the work. The log has
// the same line for every operation; their names tell them apart.
template <class Work>
BOOL CQelFcoeAgentWin::WorkOnHBA(const wchar_t* pszOperation, const CQelString& strAdapter, Work work) {
    BOOL bDone = FALSE;
    Contain(SOURCE_FILE, __LINE__, pszOperation, MemoryExhaustion::Passes, [&] {
        if (const auto pHBA = GetHBAObject(strAdapter))
            bDone = work(*pHBA);
    });
    return bDone;
}

// Work inside the core agent's configuration lock: taken here, released on every path out, and also when the core agent
// reported a failure but marked the lock as taken.
template <class Work>
BOOL CQelFcoeAgentWin::ChangeVPort(const wchar_t* pszOperation, const wchar_t* pszLockFailure,
                                   const CQelString& strAdapter, QEL_LOCK_REQUEST request, Work work) {
    CQelTracedResult traced(pszOperation, FALSE);
    if (strAdapter.IsEmpty())
        return traced(FALSE);

    struct Release {
        CQelFcoeAgentWin& agent;
        const QEL_LOCK_REQUEST& request;
        BYTE byLockTaken = 0;
        ~Release() {
            if (byLockTaken)
                agent.DoneLock(request);
        }
    } release{*this, request};

    if (StartLock(request, release.byLockTaken).ulErrCode != 0) {
        QEL_PRINT(pszLockFailure);
        return traced(FALSE);
    }
    return traced(WorkOnHBA(pszOperation, strAdapter, work));
}

// Work outside the lock, once no change is pending.
template <class Work>
BOOL CQelFcoeAgentWin::AfterApply(const wchar_t* pszOperation, const CQelString& strAdapter, ULONG64 ullContext,
                                  Work work) {
    CQelTracedResult traced(pszOperation, FALSE);
    WaitForApplyDone(ullContext);
    if (strAdapter.IsEmpty())
        return traced(FALSE);
    return traced(WorkOnHBA(pszOperation, strAdapter, work));
}

BOOL CQelFcoeAgentWin::CreateVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                                   ULONG& ulLockOwner) {
    return ChangeVPort(L"CQelFcoeAgentWin::CreateVPort", L"CQelFcoeAgentWin::CreateVPort - StartLock failed",
                       strAdapter, {ulLockOwner, 0, 0},
                       [&](CQelFcoeHBA& hba) { return hba.CreateVPort(strWWPN, vecErrors); });
}

BOOL CQelFcoeAgentWin::DeleteVPort(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>& vecErrors,
                                   QEL_LOCK_REQUEST lockRequest) {
    return ChangeVPort(L"CQelFcoeAgentWin::DeleteVPort", L"CQelFcoeAgentWin::DeleteVPort - StartLock failed",
                       strAdapter, lockRequest, [&](CQelFcoeHBA& hba) { return hba.DeleteVPort(strWWPN, vecErrors); });
}

BOOL CQelFcoeAgentWin::GenerateVPortWWPN(CQelString& strAdapter, CQelString& strWWPN, std::vector<QEL_ERROR_ENTRY>&,
                                         ULONG64 ullContext) {
    return AfterApply(L"CQelFcoeAgentWin::GenerateVPortWWPN", strAdapter, ullContext,
                      [&](CQelFcoeHBA& hba) { return hba.GenerateVPortWWPN(strWWPN); });
}

BOOL CQelFcoeAgentWin::RefreshTargets(CQelString& strAdapter, ULONG64 ullContext) {
    return AfterApply(L"CQelFcoeAgentWin::RefreshTargets", strAdapter, ullContext,
                      [](CQelFcoeHBA& hba) { return hba.RefreshTargets(); });
}
