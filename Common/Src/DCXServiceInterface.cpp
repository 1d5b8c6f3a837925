#include "Common/Src/DCXServiceInterface.h"

#include "Common/Src/Helper.h"
#include "Common/Src/OSType.h"
#include "FcoeAgent/OrvanDcb.h"
#include "FcoeAgent/QelDebug.h"

namespace {

constexpr LONG APPLICATION_FCOE = 0;
constexpr LONG PFC_ENABLED = 1;

// The lowest priority of the bitmap; 0, which goes unlogged, for an empty one.
int FindPriority(BYTE byPriorityMap) {
    for (int nPriority = 0; nPriority < 8; ++nPriority) {
        if (byPriorityMap & (1 << nPriority)) {
            QEL_PRINT(L"App:FCoE cfg (bit %d) - compare against PFC cfg", nPriority);
            return nPriority;
        }
    }
    return 0;
}

} // namespace

CDCX_ServiceInterface::CMembership::~CMembership() {
    while (m_ulJoined > 0)
        Leave();
}

HRESULT CDCX_ServiceInterface::CMembership::Join() {
    const HRESULT hResult = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(hResult))
        ++m_ulJoined;
    return hResult;
}

void CDCX_ServiceInterface::CMembership::Leave() {
    CoUninitialize();
    --m_ulJoined;
}

CDCX_ServiceInterface::CDCX_ServiceInterface(const CQelString& strAdapter, BOOL bFcoeCheck) : m_strAdapter(strAdapter) {
    const CQelDebugScope trace(L"CDCX_ServiceInterface::CDCX_ServiceInterface");
    Initialize(bFcoeCheck);
}

CDCX_ServiceInterface::~CDCX_ServiceInterface() {
    const CQelDebugScope trace(L"CDCX_ServiceInterface::~CDCX_ServiceInterface");
    UnInitialize();
}

BOOL CDCX_ServiceInterface::Initialize(BOOL bFcoeCheck) {
    CQelTracedResult traced(L"CDCX_ServiceInterface::Initialize", FALSE);

    const HRESULT hResult = Connect();
    FindFeatures(bFcoeCheck);
    return traced(SUCCEEDED(hResult));
}

HRESULT CDCX_ServiceInterface::Connect() {
    if (!CHelper().IsServiceRunning(CHelper::SERVICE_DCB)) {
        QEL_PRINT(L"ERROR:  Orvan DCB service is not running - skipping CoInitialize attempt");
        m_byComInitialized = 0; // what was joined before is left at the end
        return E_FAIL;
    }

    HRESULT hResult = E_FAIL;
    if (!m_byComInitialized) {
        hResult = m_com.Join();
        if (FAILED(hResult)) {
            QEL_PRINT(L"Initialize() CoInitializeEx() failed - hr=0x%x", hResult);
            return hResult;
        }
        m_byComInitialized = 1;
    }

    CLSID classId{};
    hResult = CLSIDFromProgID(L"OrvanDCB.IoControl.1", &classId);
    if (FAILED(hResult)) {
        QEL_PRINT(L"Initialize() CLSIDFromProgID Failed.");
        return hResult;
    }

    CQelComPointer<IOrvanDcbIoControl> pService;
    hResult = CoCreateInstance(classId, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IOrvanDcbIoControl),
                               reinterpret_cast<void**>(pService.Put()));
    if (FAILED(hResult)) {
        QEL_PRINT(L"Initialize() - CoCreateInstance Failed - hr=0x%x.", hResult);
        return hResult;
    }
    m_pService = std::move(pService);
    m_byServiceCreated = 1;
    return hResult;
}

void CDCX_ServiceInterface::FindFeatures(BOOL bFcoeCheck) {
    CHelper helper;
    if (bFcoeCheck && helper.IsFcoeInstalled()) {
        m_byFcoeInstalled = 1;
        ++m_ulFeatureCount;
    }
    if (helper.IsIscsiInstalled()) {
        m_byIscsiInstalled = 1;
        ++m_ulFeatureCount;
    }
    if (COSType(false).IsServerOfWindows8OrLater())
        m_byOsDcbInstalled = helper.IsMicrosoftDcbInstalled() ? 1 : 0;
}

void CDCX_ServiceInterface::GetDCB_FcoeLinkStatus(QEL_RESULT& result, BYTE& byDcbEnabled, ULONG& ulLinkStatus) {
    const CQelDebugScope trace(L"CDCX_ServiceInterface::GetDCB_FcoeLinkStatus", &result);

    byDcbEnabled = 0;
    ulLinkStatus = DCB_LINK_UNKNOWN;
    result = {0, 0xFFFFFFFF};
    if (m_strAdapter.IsEmpty()) {
        QEL_PRINT(L"GetDCB_FcoeLinkStatus() - Invalid Adapter ID");
        return;
    }

    const CQelBstr bstrAdapter(SysAllocString(m_strAdapter.c_str()));
    if (!bstrAdapter)
        return;
    DCB_CONFIG config{};
    if (FAILED(m_pService.Get()->get_dcb_config(bstrAdapter.Get(), &config)))
        return;
    if (!config.lDcbEnabled) {
        QEL_PRINT(L"Exiting GetDCB_FcoeLinkStatus() - DCB Disabled");
        return;
    }
    byDcbEnabled = 1;
    QEL_PRINT(L"GetDCB_FcoeLinkStatus::GetDCBStatus get_dcb_config() DCB Enabled");

    DCB_APP_STATE appState{};
    const HRESULT hApp = m_pService.Get()->get_app_oper_state(bstrAdapter.Get(), APPLICATION_FCOE, &appState);
    if (FAILED(hApp)) {
        QEL_PRINT(L"GetDCB_FcoeLinkStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x%x", hApp);
        result.ulErrCode = 0xFFFFFFFF;
        return;
    }
    switch (hApp) {
    case 0:
        break;
    case 1:
        QEL_PRINT(L"APP feature is disabled locally");
        ulLinkStatus = DCB_LINK_APP_OFF_LOCALLY;
        return;
    case 2:
    case 3:
        QEL_PRINT(L"APP feature is disabled on remote side");
        ulLinkStatus = DCB_LINK_APP_OFF_REMOTELY;
        return;
    default:
        return;
    }

    // Without a priority the comparison goes on with priority 0, whose verdict replaces this status. Hosts rely on it.
    if (appState.byPriorityMap == 0) {
        QEL_PRINT(L"App:FCoE cfg has not configured a User Priority");
        ulLinkStatus = DCB_LINK_NO_PRIORITY;
    }
    const int nPriority = FindPriority(appState.byPriorityMap);

    DCB_PFC_STATE pfcState{};
    const HRESULT hPfc = m_pService.Get()->get_pfc_oper_state(bstrAdapter.Get(), &pfcState);
    if (FAILED(hPfc)) {
        // The log names another operation and the result of the query before: readers of logs know the line as it is.
        QEL_PRINT(L"GetDCB_SubtypeAppStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x%x", hApp);
        result.ulErrCode = 0xFFFFFFFF;
        return;
    }
    switch (hPfc) {
    case 0:
        if (pfcState.lEnabled[nPriority] == PFC_ENABLED) {
            QEL_PRINT(L"PFC cfg matches App:FCoE cfg: PFC enabled");
            ulLinkStatus = DCB_LINK_USABLE;
        } else {
            QEL_PRINT(L"PFC cfg doesn't match App:FCoE cfg: PFC disabled");
            ulLinkStatus = DCB_LINK_PFC_MISMATCH;
        }
        break;
    case 1:
        ulLinkStatus = DCB_LINK_PFC_OFF_LOCALLY;
        break;
    case 2:
    case 3:
        QEL_PRINT(L"Peer PFC configuration is unknown");
        ulLinkStatus = DCB_LINK_UNKNOWN;
        break;
    default:
        break;
    }
}

BOOL CDCX_ServiceInterface::UnInitialize() {
    CQelTracedResult traced(L"CDCX_ServiceInterface::UnInitialize", TRUE);

    if (m_byServiceCreated) {
        m_pService.Reset();
        m_byServiceCreated = 0;
    }
    if (m_byComInitialized) {
        m_com.Leave();
        m_byComInitialized = 0;
    }
    return traced(TRUE);
}
