// The module operations of CHelper: where the suite's modules lie, and how they are loaded.
#include "Common/Src/Helper.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <span>

#include "Common/Src/Owner.h"
#include "Common/Src/SuiteKeys.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelRegKey.h"

namespace {

constexpr wchar_t SOURCE_FILE[] = L"Common\\Src\\Helper"; // as the class's lines are searched for
constexpr wchar_t MODULE_SUFFIX[] = L".DLL";

// The suite's modules by base name, as they are packaged.
constexpr const wchar_t* AGENT_MODULES[] = {L"CoreAgnt", L"FcoeAgnt", L"IscsAgnt", L"NicAgnt",
                                            L"TeamAgnt", L"VlanAgnt", L"DiagAgnt"};
constexpr const wchar_t* LONG_NAMED_AGENT_MODULES[] = {L"QelCoreAgent", L"QelFcoeAgent", L"QelIscsiAgent",
                                                       L"QelNicAgent", L"QelDiagAgent"};
constexpr const wchar_t* SERVICE_MODULES[] = {L"QelDcbSvc", L"QelFcoeSvc", L"QelIscsiSvc", L"QelEventSvc"};
constexpr const wchar_t* RESOURCE_MODULES[] = {L"QelResEnu", L"QelResDeu", L"QelResFra", L"QelResIta",
                                               L"QelResEsp", L"QelResJpn", L"QelResChs"};
constexpr const wchar_t* SYSTEM_MODULES[] = {L"QelColib", L"QelNetLib", L"QelXmlLib",
                                             L"devmgr",   L"riched32",  L"NetShell"};

// Modules that share a directory.
struct ModuleDirectory {
    std::span<const wchar_t* const> modules;
    const wchar_t* pszKey; // null: the system directory
    const wchar_t* pszValue;
    const wchar_t* pszSubfolder; // null: the directory itself
};

constexpr ModuleDirectory MODULE_DIRECTORIES[] = {
    {LONG_NAMED_AGENT_MODULES, SUITE_KEY, L"InstalledDir", L"Agent"},
    {SERVICE_MODULES, FEATURES_KEY, L"InstallDir", L"TOLV"},
    {RESOURCE_MODULES, SUITE_KEY, L"ResourcePath", nullptr},
    {SYSTEM_MODULES, nullptr, nullptr, nullptr},
};

bool Contains(std::span<const wchar_t* const> modules, const CQelString& strBaseName) {
    return std::ranges::any_of(modules,
                               [&](const wchar_t* pszModule) { return _wcsicmp(pszModule, strBaseName.c_str()) == 0; });
}

void AppendToPath(CQelString& strPath, const wchar_t* pszName) {
    if (!strPath.ends_with(L'\\'))
        strPath += L'\\';
    strPath += pszName;
}

bool HasModuleSuffix(const CQelString& strName) {
    constexpr std::size_t SUFFIX_LENGTH = std::size(MODULE_SUFFIX) - 1;
    return strName.size() >= SUFFIX_LENGTH &&
           _wcsicmp(strName.c_str() + strName.size() - SUFFIX_LENGTH, MODULE_SUFFIX) == 0;
}

bool GetSystemDirectoryPath(CQelString& strPath) {
    wchar_t szDirectory[MAX_PATH]{};
    const UINT uLength = GetSystemDirectoryW(szDirectory, MAX_PATH);
    strPath = szDirectory;
    return uLength > 0 && uLength < MAX_PATH;
}

// The path of a module of the suite, with or without the suffix; false when none of the lists knows the module or the
// registry does not know its directory.
bool FindModule(CHelper& helper, const CQelString& strBaseName, CQelString& strPath) {
    if (Contains(AGENT_MODULES, strBaseName))
        return helper.GetAgentModuleLocation(strBaseName, strPath);
    for (const ModuleDirectory& directory : MODULE_DIRECTORIES) {
        if (!Contains(directory.modules, strBaseName))
            continue;
        const bool bFound = directory.pszKey ? helper.GetPathFromRegistry(directory.pszKey, directory.pszValue, strPath)
                                             : GetSystemDirectoryPath(strPath);
        if (!bFound)
            return false;
        if (directory.pszSubfolder)
            AppendToPath(strPath, directory.pszSubfolder);
        AppendToPath(strPath, strBaseName);
        return true;
    }
    return false;
}

} // namespace

BOOL CHelper::GetAgentModuleLocation(const CQelString& strAgentName, CQelString& strLocation) {
    CQelTracedResult traced(L"CHelper::GetAgentModuleLocation", FALSE);
    CQelString strKey(AGENTS_KEY);
    strKey += strAgentName;
    CQelRegKey key;
    return traced(key.Open(HKEY_LOCAL_MACHINE, strKey, false) && key.GetValue(L"InstalledDir", strLocation));
}

HMODULE CHelper::PwLoadLibrary(const CQelString& strName) {
    CQelModule module;
    DWORD dwError = ERROR_SUCCESS;
    {
        const CQelDebugScope trace(L"CHelper::PwLoadLibrary");
        CQelString strPath;
        if (!FindModule(*this, StripLibraryName(strName), strPath)) {
            CQelDebug::Instance().Error(SOURCE_FILE, 767,
                                        L"ERROR:  Unable to find path to library!  Defaulting to no path %s",
                                        strName.c_str());
            strPath = strName;
        }
        if (!HasModuleSuffix(strPath))
            strPath += MODULE_SUFFIX;
        module.Reset(LoadLibraryW(strPath));
        dwError = GetLastError();
    }
    // Callers log why the load failed; the EXIT line above must not hide it.
    SetLastError(dwError);
    return module.Release();
}

CQelString CHelper::StripLibraryName(const CQelString& strName) {
    const CQelDebugScope trace(L"CHelper::StripLibraryName");
    CQelString strBaseName(strName);
    const std::size_t nSeparator = strBaseName.find_last_of(L"\\/");
    if (nSeparator != std::wstring::npos)
        strBaseName.erase(0, nSeparator + 1);
    if (HasModuleSuffix(strBaseName))
        strBaseName.resize(strBaseName.size() - (std::size(MODULE_SUFFIX) - 1));
    return strBaseName;
}
