#include "agent/FcoeAgentWin.h"

#include "Common/Src/Helper.h"
#include "FcoeAgent/QelDebug.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"agent\\FcoeAgentWin";
constexpr wchar_t AGENT_NAME[] = L"FcoeAgnt";

// The loaded module that the registry names as this one; only whether there is such a module counts.
HMODULE g_hModule;

} // namespace

CQelFcoeAgentWin::CQelFcoeAgentWin() {
    CQelDebug::Instance().Configure(L"FCOEAGENT", L"FcoeAgnt.txt", 1, 0, 0);
}

CQelFcoeAgentWin::~CQelFcoeAgentWin() {
    const CQelLockGuard guard(m_csAgent);
    FreeCoreAgent();
    ShutDown();
}

BOOL CQelFcoeAgentWin::Initialize() {
    CQelTracedResult traced(L"CQelFcoeAgentWin::Initialize", FALSE);
    const CQelLockGuard guard(m_csAgent);
    if (m_bInitialized) {
        QEL_PRINT(L"CQelFcoeAgentWin::Initialize() - Already initialized");
        return traced(TRUE);
    }
    CQelString strLocation;
    if (!CHelper().GetAgentModuleLocation(AGENT_NAME, strLocation))
        return traced(FALSE);
    g_hModule = GetModuleHandleW(strLocation);
    if (!g_hModule)
        return traced(FALSE);

    auto pLibrary = std::make_unique<CHBAAPIInt>();
    // Its result does not count: the HBA objects load the library when they need it.
    Contain(SOURCE_FILE, __LINE__, L"CQelFcoeAgentWin::Initialize", MemoryExhaustion::Passes,
            [&] { static_cast<void>(pLibrary->InitHBAAPIMod()); });
    Contain(SOURCE_FILE, __LINE__, L"CQelFcoeAgentWin::Initialize", MemoryExhaustion::Passes,
            [&] { GetCoreAgntPvt(); });
    // Only now: a start that memory exhaustion ended leaves no library loaded behind.
    m_vecLibraries.push_back(std::move(pLibrary));
    m_pLibrary = m_vecLibraries.back().get();
    // Also without a core agent: hosts rely on the next start succeeding.
    m_bInitialized = TRUE;
    return traced(HadCoreAgent());
}

BOOL CQelFcoeAgentWin::GetAdaptersThatSupportFCOE(std::vector<CQelString>& vecAdapters, ULONG64 ullContext) {
    // TRUE on every path; the callers test it all the same.
    CQelTracedResult traced(L"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE", TRUE);
    vecAdapters.clear();
    WaitForApplyDone(ullContext);
    if (!CHelper().IsFcoeInstalled()) {
        QEL_PRINT(L"FCOE is not installed - not reutnring adapters"); // misspelt: hosts search for it
        return traced(TRUE);
    }
    std::vector<CQelString> vecAll;
    QEL_RESULT result = QEL_RESULT_NOT_DONE;
    CallCoreAgent(SOURCE_FILE, __LINE__, L"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE", MemoryExhaustion::Contained,
                  [&](ICoreAgentPvt& core) { result = core.EnumerateAdapters(vecAll, ullContext); });
    if (result.ulErrCode != 0 || vecAll.empty()) {
        QEL_PRINT(L"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!");
        return traced(TRUE);
    }
    for (const CQelString& strAdapter : vecAll) {
        BYTE bySupported = 0;
        CallCoreAgent(SOURCE_FILE, __LINE__, L"CQelFcoeAgentWin::GetAdaptersThatSupportFCOE",
                      MemoryExhaustion::Contained,
                      [&](ICoreAgentPvt& core) { bySupported = core.SupportsFcoe(strAdapter); });
        if (bySupported)
            vecAdapters.push_back(strAdapter);
    }
    return traced(TRUE);
}

std::shared_ptr<CQelFcoeHBA> CQelFcoeAgentWin::GetHBAObject(const CQelString& strAdapter) {
    const CQelDebugScope trace(L"CQelFcoeAgentWin::GetHBAObject");
    const CQelLockGuard guard(m_csAgent);
    if (const auto it = m_mapHBAs.find(strAdapter); it != m_mapHBAs.end())
        return it->second;
    if (!m_pLibrary)
        return nullptr;
    // An adapter that the core agent does not know gets its object all the same, without a second identifier. For want
    // of memory there is no object: it would still lack its second identifier when there is memory again.
    QEL_ADAPTER_INFO info;
    if (!CallCoreAgent(SOURCE_FILE, __LINE__, L"CQelFcoeAgentWin::GetHBAObject", MemoryExhaustion::PassesLogged,
                       [&](ICoreAgentPvt& core) { core.GetAdapterInfo(strAdapter, info, 0); }))
        info = {};
    auto pHBA = std::make_shared<CQelFcoeHBA>(m_pLibrary, strAdapter, info.strDisplayName);
    m_mapHBAs.emplace(strAdapter, pHBA);
    return pHBA;
}

BOOL CQelFcoeAgentWin::Uninstall(ULONG64) {
    CQelTracedResult traced(L"CQelFcoeAgentWin::Uninstall", TRUE);
    const CQelLockGuard guard(m_csAgent);
    ShutDown();
    return traced(TRUE);
}

// Under the agent lock. The library access object stays: operations after this load the library through it again.
void CQelFcoeAgentWin::ShutDown() noexcept {
    m_mapHBAs.clear();
    if (m_bInitialized)
        m_pLibrary->DeInitHBAAPIMod();
    m_bInitialized = FALSE;
}
