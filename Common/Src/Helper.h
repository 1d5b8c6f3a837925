// Installation and service checks, module loading, and a few registry settings.
#pragma once

#include <windows.h>

#include "FcoeAgent/QelString.h"

// Stateless; made on the stack where it is needed. Any thread may use its own.
// Every operation answers FALSE on any registry, service-manager or COM failure. The installation checks, the debug
// settings and GetPathFromRegistry log why; of the services only a refused stop is logged, of WMI only a query that
// yields nothing. Only memory exhaustion is thrown.
class CHelper {
  public:
    // Index of the suite's services.
    static constexpr ULONG SERVICE_DCB = 0;   // "OrvanDCB"
    static constexpr ULONG SERVICE_FCOE = 1;  // "OFCoEDCB"
    static constexpr ULONG SERVICE_ISCSI = 2; // "MSiSCSI"; can only be probed

    // Whether the installer's flag of the feature reads exactly "1".
    virtual BOOL IsDcbInstalled();
    virtual BOOL IsFcoeInstalled();
    virtual BOOL IsIscsiInstalled();
    virtual ~CHelper() = default;

    // Whether Windows' own DCB can be queried through WMI. COM must be initialized on the calling thread.
    BOOL IsMicrosoftDcbInstalled();

    BOOL IsServiceRunning(ULONG ulService);
    // Starts the service; blocks until OrvanDCB runs, up to 25.5 s. The service manager's own wait for a service that
    // does not answer, 30 s as a rule, comes on top, here and when it is stopped.
    BOOL QelStartService(ULONG ulService);
    // Stops the service and waits until it has, up to 51 s.
    BOOL QelStopService(ULONG ulService);

    // Full path of an agent's module file.
    BOOL GetAgentModuleLocation(const CQelString& strAgentName, CQelString& strLocation);
    // The language that the suite was installed in, and the one that the local user chose, as short texts. The agent
    // does not ask; its siblings do.
    BOOL GetInstalledLanguage(CQelString& strLanguage);
    BOOL GetLocalLanguage(CQelString& strLanguage);
    // A string value of a key of the local machine.
    BOOL GetPathFromRegistry(const CQelString& strKey, const CQelString& strValue, CQelString& strPath);
    // Finds a module of the suite by its name and loads it; the name itself is the path of a module that the suite does
    // not know. Null on failure, with the reason in GetLastError; the caller frees the handle.
    HMODULE PwLoadLibrary(const CQelString& strName);
    // The base name: no directory, no ".DLL" in any case.
    static CQelString StripLibraryName(const CQelString& strName);

    BOOL IsDebugEnbled();
    // A support setting; only read while debugging is on. ulValue is untouched on failure.
    BOOL IsSettingDebugable(const CQelString& strValueName, ULONG& ulValue);
};
