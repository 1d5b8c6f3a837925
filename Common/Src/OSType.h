// Which Windows the module runs on.
#pragma once

#include <windows.h>

// Probes the running system once, when it is made. It cannot fail: an unknown system has type 0 and generation 0.
class COSType {
  public:
    // bApplyOverrides: values of the registry take the place of the probed version.
    explicit COSType(bool bApplyOverrides);
    COSType(const COSType&) = default;
    COSType& operator=(const COSType&) = default;
    virtual ~COSType() = default;

    // The suite's number for version, edition and processor; 0 for a system that it does not know.
    virtual BYTE GetOSType() const;

    bool IsX64() const;
    bool IsItanium() const;
    bool IsWorkstation() const;
    bool IsVistaOrLater() const;
    bool IsWindows7Family() const;
    bool IsServer2008R2Family() const;
    bool IsWindows8Family() const;
    bool IsWindows8OrLater() const;
    bool IsServerOfWindows8OrLater() const;

    // 2 for Windows 7, Server 2008 R2 and later; 1 for Vista and Server 2008; else 0.
    ULONG Generation() const;
    // The generation of the running system, probed once when the module is loaded, and 0 before. Overrides do not reach
    // it.
    static ULONG GetOSGeneration();

  private:
    void ApplyOverrides();

    using PFN_GetNativeSystemInfo = void(WINAPI*)(SYSTEM_INFO*);

    RTL_OSVERSIONINFOEXW m_version;
    PFN_GetNativeSystemInfo m_pfnGetNativeSystemInfo;
    SYSTEM_INFO m_systemInfo;
    BOOL m_bVersionKnown;
};
