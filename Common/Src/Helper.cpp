#include "Common/Src/Helper.h"

#include <wbemcli.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/SuiteKeys.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelRegKey.h"

namespace {

// One of the installer's feature flags, and what the log says when it is not set.
struct InstallationCheck {
    const wchar_t* pszValue;
    const wchar_t* pszKeyFailure;
    const wchar_t* pszValueFailure;
    const wchar_t* pszNotInstalled;
};

constexpr InstallationCheck DCB_CHECK{
    L"InstalledTOLV_DCB", L"IsDcbInstalled() - Unable to open the TOLV registry key - exiting",
    L"IsDcbInstalled() - Unable to open the DCB installation status registry value - exiting",
    L"IsDcbInstalled() - DCB was not installed - exiting"};
constexpr InstallationCheck FCOE_CHECK{
    L"InstalledTOLV_FCOE", L"IsFcoeInstalled() - Unable to open the TOLV registry key - exiting",
    L"IsFcoeInstalled() - Unable to open the Fcoe installation status registry value - exiting",
    L"IsFcoeInstalled() - fcoe was not installed - exiting"};
// Its messages speak of FCoE; support tools search for them as they are.
constexpr InstallationCheck ISCSI_CHECK{
    L"InstalledTOLV_ISCSI", L"IsIscsiInstalled() - Unable to open the TOLV registry key - exiting",
    L"IsIscsiInstalled() - Unable to open the Fcoe installation status registry value - exiting",
    L"IsIscsiInstalled() - fcoe was not installed - exiting"};

BOOL IsInstalled(const InstallationCheck& check) {
    CQelRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, INSTALLED_FEATURES_KEY, false)) {
        QEL_PRINT(check.pszKeyFailure);
        return FALSE;
    }
    CQelString strFlag;
    if (!key.GetValue(check.pszValue, strFlag)) {
        QEL_PRINT(check.pszValueFailure);
        return FALSE;
    }
    if (!(strFlag == L"1")) {
        QEL_PRINT(check.pszNotInstalled);
        return FALSE;
    }
    return TRUE;
}

// WMI acts for the caller, which most of its providers want; a proxy may be made for less. A module has no say in what
// the process's default is, and what refuses this is no proxy.
void LetImpersonate(IUnknown* pProxy) {
    static_cast<void>(CoSetProxyBlanket(pProxy, RPC_C_AUTHN_DEFAULT, RPC_C_AUTHZ_DEFAULT, COLE_DEFAULT_PRINCIPAL,
                                        RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
}

// Whether the query of Windows' DCB settings yields an enumerator.
BOOL QueryMicrosoftDcb() {
    const CQelBstr bstrLanguage(SysAllocString(L"WQL"));
    const CQelBstr bstrQuery(SysAllocString(L"SELECT * FROM"
                                            L" "
                                            L"MSFT_NetQosDcbxSettingData"));
    const CQelBstr bstrNamespace(SysAllocString(L"root\\standardcimv2"));

    CQelComPointer<IWbemLocator> pLocator;
    if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                reinterpret_cast<void**>(pLocator.Put()))))
        return FALSE;
    QEL_PRINT(L"After CoCreateInstance()");

    CQelComPointer<IWbemServices> pServices;
    // Without the flag a WMI that does not answer holds up the host for ever; with it, two minutes at most.
    if (FAILED(pLocator.Get()->ConnectServer(bstrNamespace.Get(), nullptr, nullptr, nullptr,
                                             WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, pServices.Put())))
        return FALSE;
    QEL_PRINT(L"After ConnectServer()");
    LetImpersonate(pServices.Get());

    // Without WBEM_FLAG_RETURN_IMMEDIATELY: that one gives an enumerator even for a class that does not exist.
    CQelComPointer<IEnumWbemClassObject> pEnumInstanceName;
    const HRESULT hResult = pServices.Get()->ExecQuery(bstrLanguage.Get(), bstrQuery.Get(), WBEM_FLAG_FORWARD_ONLY,
                                                       nullptr, pEnumInstanceName.Put());
    if (!pEnumInstanceName) {
        QEL_PRINT(L"Failed: After ExecQuery -> SELECT * FROM WMI_MSFT_NET_QOS_DCBX_SETTING_DATA pEnumInstanceName == "
                  L"NULL");
        return FALSE;
    }
    if (FAILED(hResult))
        return FALSE;
    QEL_PRINT(L"Query WMI_MSFT_NET_QOS_DCBX_SETTING_DATA was successful, MS DCB is installed");
    pEnumInstanceName.Reset();
    QEL_PRINT(L"After pEnumInstanceName->Release");
    return TRUE;
}

} // namespace

BOOL CHelper::IsDcbInstalled() {
    CQelTracedResult traced(L"CHelper::IsDcbInstalled", FALSE);
    return traced(IsInstalled(DCB_CHECK));
}

BOOL CHelper::IsFcoeInstalled() {
    CQelTracedResult traced(L"CHelper::IsFcoeInstalled", FALSE);
    return traced(IsInstalled(FCOE_CHECK));
}

BOOL CHelper::IsIscsiInstalled() {
    CQelTracedResult traced(L"CHelper::IsIscsiInstalled", FALSE);
    return traced(IsInstalled(ISCSI_CHECK));
}

BOOL CHelper::IsMicrosoftDcbInstalled() {
    CQelTracedResult traced(L"CHelper::IsMicrosoftDcbInstalled", FALSE);
    return traced(QueryMicrosoftDcb());
}

BOOL CHelper::GetPathFromRegistry(const CQelString& strKey, const CQelString& strValue, CQelString& strPath) {
    CQelTracedResult traced(L"CHelper::GetPathFromRegistry", FALSE);
    CQelRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, strKey, false)) {
        QEL_PRINT(L"GetPathFromRegistry() - Unable to open the registry key - exiting");
        return traced(FALSE);
    }
    if (!key.GetValue(strValue, strPath)) {
        QEL_PRINT(L"GetPathFromRegistry() - Unable to open the registry value - exiting");
        return traced(FALSE);
    }
    return traced(TRUE);
}

BOOL CHelper::GetInstalledLanguage(CQelString& strLanguage) {
    CQelTracedResult traced(L"CHelper::GetInstalledLanguage", FALSE);
    return traced(GetPathFromRegistry(SUITE_KEY, L"InstalledLangShortString", strLanguage));
}

BOOL CHelper::GetLocalLanguage(CQelString& strLanguage) {
    CQelTracedResult traced(L"CHelper::GetLocalLanguage", FALSE);
    return traced(GetPathFromRegistry(FEATURES_KEY, L"LocalLanguage", strLanguage));
}

// "Enbled" and the TOLV key that the messages speak of are what support tools look for in the log.
BOOL CHelper::IsDebugEnbled() {
    CQelTracedResult traced(L"CHelper::IsDebugEnbled", FALSE);
    CQelRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, SUITE_KEY, false)) {
        QEL_PRINT(L"IsDebugEnbled() - Unable to open the TOLV registry key - exiting");
        return traced(FALSE);
    }
    ULONG ulDebugging = 0;
    if (!key.GetValue(L"Debugging", ulDebugging)) {
        QEL_PRINT(L"IsDebugEnbled() - Unable to open the debug registry value - exiting");
        return traced(FALSE);
    }
    if (ulDebugging != 1)
        return traced(FALSE);
    QEL_PRINT(L"IsDebugEnbled() - debugging is enabled - exiting");
    return traced(TRUE);
}

BOOL CHelper::IsSettingDebugable(const CQelString& strValueName, ULONG& ulValue) {
    CQelTracedResult traced(L"CHelper::IsSettingDebugable", FALSE);
    if (!IsDebugEnbled()) {
        QEL_PRINT(L"IsSettingDebugable() - debugging is not turned on - exiting");
        return traced(FALSE);
    }
    CQelRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, DEBUG_SETTINGS_KEY, false)) {
        QEL_PRINT(L"IsSettingDebugable() - Unable to open the TOLV registry key - exiting");
        return traced(FALSE);
    }
    if (!key.GetValue(strValueName, ulValue)) {
        QEL_PRINT(L"IsSettingDebugable() - Unable to open the debug registry value - exiting");
        return traced(FALSE);
    }
    return traced(TRUE);
}
