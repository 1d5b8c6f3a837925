// Virtual ports, port names and the target rescan.
#include "FcoeAgent/QelDebug.h"
#include "agent/FcoeAgentWin.h"

namespace {
constexpr wchar_t SOURCE_FILE[] = L"agent\\VirtualPorts";
}

// Work inside the core agent's configuration lock: taken here, released on every path out, and also when the core agent
// reported a failure but marked the lock as taken.
template <class Work>
BOOL CQelFcoeAgentWin::ChangeVPort(const wchar_t* pszOperation, const wchar_t* pszLockFailure,
                                   const CQelString& strAdapter, QEL_LOCK_REQUEST request, Work work) {
    CQelTracedResult traced(pszOperation, FALSE);
    if (strAdapter.IsEmpty())
        return traced(FALSE);

    struct RELEASE {
        CQelFcoeAgentWin& agent;
        const QEL_LOCK_REQUEST& request;
        BYTE byLockTaken = 0;
        ~RELEASE() {
            if (byLockTaken)
                agent.DoneLock(request);
        }
    } lock{*this, request};

    if (StartLock(request, lock.byLockTaken).ulErrCode != 0) {
        QEL_PRINT(pszLockFailure);
        return traced(FALSE);
    }
    return traced(Contain(SOURCE_FILE, __LINE__, pszOperation, [&] {
        const auto pHBA = GetHBAObject(strAdapter);
        return pHBA ? work(*pHBA) : FALSE;
    }));
}

// Work outside the lock, once no change is pending.
template <class Work>
BOOL CQelFcoeAgentWin::AfterApply(const wchar_t* pszOperation, const CQelString& strAdapter, ULONG64 ullContext,
                                  Work work) {
    CQelTracedResult traced(pszOperation, FALSE);
    WaitForApplyDone(ullContext);
    if (strAdapter.IsEmpty())
        return traced(FALSE);
    return traced(Contain(SOURCE_FILE, __LINE__, pszOperation, [&] {
        const auto pHBA = GetHBAObject(strAdapter);
        return pHBA ? work(*pHBA) : FALSE;
    }));
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
