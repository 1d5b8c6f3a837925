#include "Common/Src/QelNetAgentPvt.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "Common/Src/Helper.h"
#include "Common/Src/ModuleFunction.h"
#include "Common/Src/SuiteKeys.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelRegKey.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\QelNetAgentPvt";

// What the slots answer that never fail: success without a detail.
constexpr QEL_RESULT QEL_RESULT_DONE{0, 0xFFFFFFFF};

// An advanced DCB setting takes effect when the DCB service starts; who changes one leaves a mark for the next apply.
void RestartDcbServiceIfSettingChanged() {
    CQelRegKey key;
    CQelString strChanged;
    if (!key.Open(HKEY_LOCAL_MACHINE, DCB_SETTINGS_KEY, true) ||
        !key.GetValue(L"DcbAdvancedSettingChange", strChanged) || !(strChanged == L"1"))
        return;
    CHelper helper;
    helper.QelStopService(CHelper::SERVICE_DCB);
    helper.QelStartService(CHelper::SERVICE_DCB);
    key.SetValue(L"DcbAdvancedSettingChange", CQelString(L"0"));
}

} // namespace

CQelNetAgentPvt::CQelNetAgentPvt() = default;

CQelNetAgentPvt::~CQelNetAgentPvt() = default;

// The messages of this pass say "UnLoad" and "to load", and it reports failures in the words of the load pass; they are
// kept as hosts and support tools know them.
QEL_RESULT CQelNetAgentPvt::ApplyDone_UnloadDevice(BYTE& byChanged) {
    const CQelLockGuard guard(m_csLock);
    CQelTracedResult traced(L"CQelNetAgentPvt::ApplyDone_UnloadDevice", QEL_RESULT_NOT_DONE);
    RestartDcbServiceIfSettingChanged();
    if (m_vecUnloadMiniports.empty()) {
        QEL_PRINT(L"ApplyDone_UnLoadDevice() - No miniports to load");
    } else {
        QEL_PRINT(L"ApplyDone_UnLoadDevice() - Need to unload (%d) Miniports.",
                  static_cast<int>(m_vecUnloadMiniports.size()));
        WorkThrough(m_vecUnloadMiniports, {&CQelNetAgentPvt::UnloadMiniport, 193, true}, byChanged);
    }
    return traced(QEL_RESULT_DONE);
}

QEL_RESULT CQelNetAgentPvt::ApplyDone_LoadDevice(BYTE& byChanged) {
    const CQelLockGuard guard(m_csLock);
    CQelTracedResult traced(L"CQelNetAgentPvt::ApplyDone_LoadDevice", QEL_RESULT_NOT_DONE);
    if (m_vecLoadMiniports.empty()) {
        QEL_PRINT(L"ApplyDone_LoadDevice() - No miniports to load");
    } else {
        QEL_PRINT(L"ApplyDone_LoadDevice() - Need to load (%d) Miniports.",
                  static_cast<int>(m_vecLoadMiniports.size()));
        WorkThrough(m_vecLoadMiniports, {&CQelNetAgentPvt::LoadMiniport, 119, false}, byChanged);
    }
    return traced(QEL_RESULT_DONE);
}

void CQelNetAgentPvt::WorkThrough(std::vector<CQelString>& vecMiniports, const MiniportPass& pass, BYTE& byChanged) {
    // A hook may add names for reload; those wait for the next pass.
    for (std::size_t nCount = vecMiniports.size(); nCount > 0; --nCount) {
        const CQelString strMiniportInst = vecMiniports.front();
        BYTE byFlag = 0;
        if ((this->*pass.pfnHook)(strMiniportInst, byFlag).ulErrCode != 0)
            CQelDebug::Instance().Error(SOURCE_FILE, pass.nErrorLine,
                                        L"ApplyDone_LoadDevice - LoadMiniport() failed - device -> %s",
                                        strMiniportInst.c_str());
        if (byFlag != 0)
            byChanged = 1;
        if (pass.bReload)
            AddForReload(strMiniportInst);
        vecMiniports.erase(vecMiniports.begin());
    }
}

QEL_RESULT CQelNetAgentPvt::UnloadMiniport(const CQelString&, BYTE&) {
    CQelTracedResult traced(L"CQelNetAgentPvt::UnloadMiniport", QEL_RESULT_NOT_DONE);
    return traced(QEL_RESULT_NOT_DONE);
}

QEL_RESULT CQelNetAgentPvt::LoadMiniport(const CQelString&, BYTE&) {
    CQelTracedResult traced(L"CQelNetAgentPvt::LoadMiniport", QEL_RESULT_NOT_DONE);
    return traced(QEL_RESULT_NOT_DONE);
}

void CQelNetAgentPvt::Notify() {}

QEL_RESULT CQelNetAgentPvt::QueryStatus() {
    CQelTracedResult traced(L"CQelNetAgentPvt::QueryStatus", QEL_RESULT_DONE);
    return traced(QEL_RESULT_DONE);
}

QEL_RESULT CQelNetAgentPvt::QueryApplyStatus() {
    CQelTracedResult traced(L"CQelNetAgentPvt::QueryApplyStatus", QEL_RESULT_DONE);
    return traced(QEL_RESULT_DONE);
}

void CQelNetAgentPvt::AddForReload(const CQelString& strMiniportInst) {
    const CQelDebugScope trace(L"CQelNetAgentPvt::AddForReload");
    QEL_PRINT(L"Adding strMiniportInst=%s", strMiniportInst.c_str());
    const CQelLockGuard guard(m_csLock);
    if (!strMiniportInst.empty() && std::ranges::find(m_vecLoadMiniports, strMiniportInst) == m_vecLoadMiniports.end())
        m_vecLoadMiniports.push_back(strMiniportInst);
}

void CQelNetAgentPvt::GetCoreAgntPvt() {
    const CQelDebugScope trace(L"CQelNetAgentPvt::GetCoreAgntPvt");
    const CQelLockGuard guard(m_csLock);
    FreeCoreAgent();
    CQelModule module(CHelper().PwLoadLibrary(L"CoreAgnt"));
    if (!module)
        return;
    // A module that the suite's registry names as its core agent is trusted to export this.
    const auto pfnGetCoreAgentPvt = FindFunction<PFN_GetCoreAgentPvt>(module.Get(), "GetCoreAgentPvt");
    ICoreAgentPvt* const pCoreAgent = pfnGetCoreAgentPvt();
    m_pLoaded.store(std::make_shared<const CoreAgent>(CoreAgent{std::move(module), pCoreAgent}));
    // Last: without memory to hold the module there is no core agent.
    m_pCoreAgent = pCoreAgent;
}

void CQelNetAgentPvt::FreeCoreAgent() {
    m_pLoaded.store(nullptr);
}

bool CQelNetAgentPvt::HadCoreAgent() {
    const CQelLockGuard guard(m_csLock);
    return m_pCoreAgent != nullptr;
}

// The lines and places that an exception leaves in the log are searched for as they stand:
//   267  "CQelNetAgentPvt::WaitForApplyDone() - Exception caught"
//   352  "CQelNetAgentPvt::StartLock() - Exception caught"
//   380  "CQelNetAgentPvt::DoneLock() - Exception caught"
void CQelNetAgentPvt::WaitForApplyDone(ULONG64 ullContext) {
    const CQelDebugScope trace(L"CQelNetAgentPvt::WaitForApplyDone");
    CallCoreAgent(SOURCE_FILE, 267, L"CQelNetAgentPvt::WaitForApplyDone", MemoryExhaustion::Contained,
                  [&](ICoreAgentPvt& core) { core.WaitForApplyDone(ullContext); });
}

QEL_RESULT CQelNetAgentPvt::StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) {
    CQelTracedResult traced(L"CQelNetAgentPvt::StartLock", QEL_RESULT_NOT_DONE);
    QEL_RESULT result = QEL_RESULT_NOT_DONE;
    CallCoreAgent(SOURCE_FILE, 352, L"CQelNetAgentPvt::StartLock", MemoryExhaustion::Contained,
                  [&](ICoreAgentPvt& core) { result = core.StartLock(request, byLockTaken); });
    return traced(result);
}

QEL_RESULT CQelNetAgentPvt::DoneLock(QEL_LOCK_REQUEST request) {
    CQelTracedResult traced(L"CQelNetAgentPvt::DoneLock", QEL_RESULT_NOT_DONE);
    QEL_RESULT result = QEL_RESULT_NOT_DONE;
    CallCoreAgent(SOURCE_FILE, 380, L"CQelNetAgentPvt::DoneLock", MemoryExhaustion::Contained,
                  [&](ICoreAgentPvt& core) { result = core.DoneLock(request); });
    return traced(result);
}
