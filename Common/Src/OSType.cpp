#include "Common/Src/OSType.h"

#include <cstdlib>
#include <iterator>

#include "Common/Src/ModuleFunction.h"
#include "Common/Src/SuiteKeys.h"
#include "FcoeAgent/QelRegKey.h"

namespace {

using PFN_RtlGetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOEXW*);

constexpr WORD ARCHITECTURE_ITANIUM = PROCESSOR_ARCHITECTURE_IA64;
constexpr WORD ARCHITECTURE_X64 = PROCESSOR_ARCHITECTURE_AMD64;

const ULONG g_ulGeneration = COSType(false).Generation();

} // namespace

static_assert(sizeof(RTL_OSVERSIONINFOEXW) == 284);

COSType::COSType(bool bApplyOverrides)
    : m_version{}, m_pfnGetNativeSystemInfo(
                       FindFunction<PFN_GetNativeSystemInfo>(GetModuleHandleW(L"kernel32.dll"), "GetNativeSystemInfo")),
      m_systemInfo{}, m_bVersionKnown(FALSE) {
    if (m_pfnGetNativeSystemInfo)
        m_pfnGetNativeSystemInfo(&m_systemInfo);
    m_version.dwOSVersionInfoSize = sizeof m_version;
    if (const auto pfnRtlGetVersion = FindFunction<PFN_RtlGetVersion>(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion"))
        m_bVersionKnown = pfnRtlGetVersion(&m_version) == 0;
    if (bApplyOverrides)
        ApplyOverrides();
}

void COSType::ApplyOverrides() {
    CQelRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, OS_OVERRIDES_KEY, false))
        return;
    const auto Override = [&key](const wchar_t* pszName, auto& field) {
        CQelString strValue;
        if (key.GetValue(pszName, strValue))
            field = static_cast<std::decay_t<decltype(field)>>(_wtoi(strValue.c_str()));
    };
    Override(L"OSMajorVersion", m_version.dwMajorVersion);
    Override(L"OSMinorVersion", m_version.dwMinorVersion);
    Override(L"OSBuildNumber", m_version.dwBuildNumber);
    Override(L"OSPlatformID", m_version.dwPlatformId);
    Override(L"OSServicePackMajor", m_version.wServicePackMajor);
    Override(L"OSServicePackMinor", m_version.wServicePackMinor);
    Override(L"OSProductType", m_version.wProductType);
    CQelString strCSDVersion;
    if (key.GetValue(L"OSCSDVersion", strCSDVersion)) {
        const std::size_t nCopied = strCSDVersion.copy(m_version.szCSDVersion, std::size(m_version.szCSDVersion) - 1);
        m_version.szCSDVersion[nCopied] = L'\0';
    }
}

// The numbers are the suite's own and not uniform; installers and hosts compare them.
BYTE COSType::GetOSType() const {
    if (!m_bVersionKnown)
        return 0;
    const bool bX64 = IsX64(), bItanium = IsItanium(), bWorkstation = IsWorkstation();
    const bool bNT = m_version.dwPlatformId == VER_PLATFORM_WIN32_NT;
    const bool bServer = m_version.wProductType == VER_NT_DOMAIN_CONTROLLER || m_version.wProductType == VER_NT_SERVER;
    const auto IsVersion = [this](DWORD dwMajor, DWORD dwMinor) {
        return m_version.dwMajorVersion == dwMajor && m_version.dwMinorVersion == dwMinor;
    };

    if (IsVersion(5, 1) && bNT)
        return 7;
    if (IsVersion(5, 2) && bNT && bWorkstation)
        return bX64 ? 9 : bItanium ? 8 : 0;
    if (IsVersion(5, 2) && bNT && bServer)
        return bX64 ? 12 : bItanium ? 11 : 10;
    if (IsVersion(6, 0) && bWorkstation)
        return bX64 ? 14 : 13;
    if (IsVersion(6, 0) && bServer)
        return bX64 ? 16 : bItanium ? 17 : 15;
    if (IsVersion(6, 1) && bWorkstation)
        return bX64 ? 19 : 18;
    if (IsVersion(6, 1))
        return bX64 ? 20 : bItanium ? 21 : 0;
    if (IsVersion(6, 2))
        return !bX64 ? 22 : bWorkstation ? 23 : 24;
    if (IsVersion(6, 3))
        return !bX64 ? 25 : bWorkstation ? 26 : 27;
    if (IsVersion(10, 0))
        return !bX64 ? 28 : bWorkstation ? 29 : 30;
    return 0;
}

bool COSType::IsX64() const {
    return m_pfnGetNativeSystemInfo && m_systemInfo.wProcessorArchitecture == ARCHITECTURE_X64;
}

bool COSType::IsItanium() const {
    return m_pfnGetNativeSystemInfo && m_systemInfo.wProcessorArchitecture == ARCHITECTURE_ITANIUM;
}

bool COSType::IsWorkstation() const {
    return m_version.wProductType == VER_NT_WORKSTATION;
}

bool COSType::IsVistaOrLater() const {
    return m_version.dwPlatformId == VER_PLATFORM_WIN32_NT && m_version.dwMajorVersion >= 6;
}

bool COSType::IsWindows7Family() const {
    const BYTE byType = GetOSType();
    return byType == 18 || byType == 19;
}

bool COSType::IsServer2008R2Family() const {
    const BYTE byType = GetOSType();
    return byType == 20 || byType == 21;
}

bool COSType::IsWindows8Family() const {
    const BYTE byType = GetOSType();
    return byType >= 22 && byType <= 24;
}

bool COSType::IsWindows8OrLater() const {
    return IsWindows8Family() || m_version.dwMajorVersion > 6 ||
           (m_version.dwMajorVersion == 6 && m_version.dwMinorVersion >= 2);
}

bool COSType::IsServerOfWindows8OrLater() const {
    return IsWindows8OrLater() && !IsWorkstation();
}

ULONG COSType::Generation() const {
    if (IsWindows7Family() || IsServer2008R2Family() || IsWindows8OrLater())
        return 2;
    return IsVistaOrLater() ? 1 : 0;
}

ULONG COSType::GetOSGeneration() {
    return g_ulGeneration;
}
