// The module operations of CHelper.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Src/Helper.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"

namespace {

constexpr wchar_t SUITE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2";
constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
const std::wstring AGENTS_KEY = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\";

// Notes what is loaded instead of loading it.
class FakeLoader {
  public:
    FakeLoader() : m_patch(nullptr, "kernel32.dll", "LoadLibraryW", reinterpret_cast<void*>(&Load)) {
        s_instance = this;
    }
    ~FakeLoader() { s_instance = nullptr; }

    std::vector<std::wstring> paths;
    HMODULE result = reinterpret_cast<HMODULE>(0x12340000);
    DWORD error = 0;

  private:
    static HMODULE WINAPI Load(const wchar_t* path) {
        s_instance->paths.emplace_back(path);
        SetLastError(s_instance->error);
        return s_instance->result;
    }
    static FakeLoader* s_instance;
    ImportPatch m_patch;
};
FakeLoader* FakeLoader::s_instance = nullptr;

class LoadingModules : public testing::Test {
  protected:
    // The path that a name led to.
    std::wstring PathOf(const wchar_t* name) {
        m_loader.paths.clear();
        EXPECT_EQ(m_loader.result, CHelper().PwLoadLibrary(name));
        return m_loader.paths.size() == 1 ? m_loader.paths.front() : L"(not one load)";
    }
    static std::string NoPath(const std::string& name) {
        return "Common\\Src\\Helper (767): ERROR:  Unable to find path to library!  Defaulting to no path " + name;
    }
    int Errors() const {
        int errors = 0;
        for (const std::string& message : m_log.Messages())
            errors += message.starts_with("Common\\Src\\Helper (767)");
        return errors;
    }

    PrivateHive m_hive;
    FakeLoader m_loader;
    LogCapture m_log;
};

TEST(StripLibraryName, LeavesTheBaseName) {
    const struct {
        const wchar_t* name;
        const wchar_t* base;
    } cases[] = {
        {L"CoreAgnt", L"CoreAgnt"},
        {L"CoreAgnt.dll", L"CoreAgnt"},
        {L"CoreAgnt.DLL", L"CoreAgnt"},
        {L"CoreAgnt.dLl", L"CoreAgnt"},
        {L"C:\\Program Files\\Suite\\CoreAgnt.Dll", L"CoreAgnt"},
        {L"C:/Suite/CoreAgnt.dll", L"CoreAgnt"},
        {L"\\\\host\\share.dll\\CoreAgnt", L"CoreAgnt"},
        {L"CoreAgnt.dll.dll", L"CoreAgnt.dll"},
        {L"CoreAgnt.exe", L"CoreAgnt.exe"},
        {L"CoreAgntdll", L"CoreAgntdll"},
        {L"dll", L"dll"},
        {L".dll", L""},
        {L"Folder\\", L""},
        {L"", L""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.base, CHelper::StripLibraryName(c.name)) << testing::PrintToString(std::wstring(c.name));
}

TEST(AgentModuleLocation, IsTheInstalledDirOfTheAgentsKey) {
    PrivateHive hive;
    LogCapture log;
    CQelString location;
    EXPECT_FALSE(CHelper().GetAgentModuleLocation(L"FcoeAgnt", location));
    hive.Set((AGENTS_KEY + L"FcoeAgnt").c_str(), L"Other", L"x");
    EXPECT_FALSE(CHelper().GetAgentModuleLocation(L"FcoeAgnt", location));
    EXPECT_TRUE(log.Messages().empty());
    hive.Set((AGENTS_KEY + L"FcoeAgnt").c_str(), L"InstalledDir", L"C:\\Suite\\FcoeAgnt.dll");
    EXPECT_EQ(TRUE, CHelper().GetAgentModuleLocation(L"FcoeAgnt", location));
    EXPECT_EQ(L"C:\\Suite\\FcoeAgnt.dll", location);
    EXPECT_TRUE(log.Has("EXIT:  CHelper::GetAgentModuleLocation, bReturn=true"));
}

TEST_F(LoadingModules, AnAgentsPathIsUsedAsItStands) {
    for (const wchar_t* agent :
         {L"CoreAgnt", L"FcoeAgnt", L"IscsAgnt", L"NicAgnt", L"TeamAgnt", L"VlanAgnt", L"DiagAgnt"}) {
        const std::wstring path = std::wstring(L"D:\\Elsewhere\\Other-") + agent + L".dll";
        m_hive.Set((AGENTS_KEY + agent).c_str(), L"InstalledDir", path);
        EXPECT_EQ(path, PathOf(agent));
    }
    EXPECT_EQ(0, Errors());
}

TEST_F(LoadingModules, CoreAgentWithASuffixInAnyCaseIsStrippedAndFound) {
    m_hive.Set((AGENTS_KEY + L"CoreAgnt").c_str(), L"InstalledDir", L"C:\\Suite\\CoreAgnt.dll");
    for (const wchar_t* name : {L"CoreAgnt.DLL", L"CoreAgnt.dll", L"CoreAgnt.Dll", L"COREAGNT.dll", L"x:\\y\\coreagnt"})
        EXPECT_EQ(L"C:\\Suite\\CoreAgnt.dll", PathOf(name));
    EXPECT_EQ(0, Errors());
}

TEST_F(LoadingModules, TheSuffixIsAppendedOnlyWhenThePathLacksIt) {
    const wchar_t* const paths[][2] = {{L"C:\\Suite\\CoreAgnt", L"C:\\Suite\\CoreAgnt.DLL"},
                                       {L"C:\\Suite\\CoreAgnt.dlL", L"C:\\Suite\\CoreAgnt.dlL"},
                                       {L"C:\\Suite\\CoreAgnt.bin", L"C:\\Suite\\CoreAgnt.bin.DLL"},
                                       {L"", L".DLL"}};
    for (const auto& [installed, loaded] : paths) {
        m_hive.Set((AGENTS_KEY + L"CoreAgnt").c_str(), L"InstalledDir", installed);
        EXPECT_EQ(loaded, PathOf(L"CoreAgnt"));
    }
}

TEST_F(LoadingModules, LongNamedAgentsLieInTheAgentFolder) {
    for (const wchar_t* directory : {L"C:\\Suite", L"C:\\Suite\\"}) {
        m_hive.Set(SUITE_KEY, L"InstalledDir", directory);
        for (const std::wstring name :
             {L"QelCoreAgent", L"QelFcoeAgent", L"QelIscsiAgent", L"QelNicAgent", L"QelDiagAgent"})
            EXPECT_EQ(L"C:\\Suite\\Agent\\" + name + L".DLL", PathOf(name.c_str()));
    }
    EXPECT_EQ(L"C:\\Suite\\Agent\\qelCOREagent.DLL", PathOf(L"qelCOREagent.dll"));
    EXPECT_EQ(0, Errors());
}

TEST_F(LoadingModules, ServiceModulesLieInTheirFolder) {
    for (const wchar_t* directory : {L"C:\\Services", L"C:\\Services\\"}) {
        m_hive.Set(FEATURES_KEY, L"InstallDir", directory);
        for (const std::wstring name : {L"QelDcbSvc", L"QelFcoeSvc", L"QelIscsiSvc", L"QelEventSvc"})
            EXPECT_EQ(L"C:\\Services\\TOLV\\" + name + L".DLL", PathOf(name.c_str()));
    }
    EXPECT_EQ(0, Errors());
}

TEST_F(LoadingModules, ResourceModulesLieInTheResourcePath) {
    for (const wchar_t* directory : {L"C:\\Texts", L"C:\\Texts\\"}) {
        m_hive.Set(SUITE_KEY, L"ResourcePath", directory);
        for (const std::wstring name :
             {L"QelResEnu", L"QelResDeu", L"QelResFra", L"QelResIta", L"QelResEsp", L"QelResJpn", L"QelResChs"})
            EXPECT_EQ(L"C:\\Texts\\" + name + L".DLL", PathOf(name.c_str()));
    }
    EXPECT_EQ(0, Errors());
}

TEST_F(LoadingModules, CommonAndWindowsModulesLieInTheSystemDirectory) {
    wchar_t system[MAX_PATH];
    ASSERT_NE(0u, GetSystemDirectoryW(system, MAX_PATH));
    for (const std::wstring name : {L"QelColib", L"QelNetLib", L"QelXmlLib", L"devmgr", L"riched32", L"NetShell"})
        EXPECT_EQ(system + (L"\\" + name) + L".DLL", PathOf(name.c_str()));
    EXPECT_EQ(0, Errors());
}

UINT g_systemDirectory;
UINT WINAPI AnswerSystemDirectory(wchar_t* directory, UINT size) {
    std::fill_n(directory, std::min(g_systemDirectory, size - 1), L'x');
    return g_systemDirectory;
}

TEST_F(LoadingModules, ASystemDirectoryThatCannotBeHadIsNoPath) {
    const ImportPatch patch(nullptr, "KERNEL32.dll", "GetSystemDirectoryW",
                            reinterpret_cast<void*>(&AnswerSystemDirectory));
    for (const UINT length : {0u, static_cast<UINT>(MAX_PATH), static_cast<UINT>(MAX_PATH + 20)}) {
        g_systemDirectory = length;
        m_log.Clear();
        EXPECT_EQ(L"NetShell.dll", PathOf(L"NetShell.dll")) << length;
        EXPECT_EQ(std::vector<std::string>{NoPath("NetShell.dll")}, m_log.Messages());
    }
    g_systemDirectory = MAX_PATH - 1;
    EXPECT_EQ(std::wstring(MAX_PATH - 1, L'x') + L"\\NetShell.DLL", PathOf(L"NetShell.dll"));
}

TEST_F(LoadingModules, AnUnknownModuleIsLoadedByTheNameAsGiven) {
    const wchar_t* const names[][2] = {{L"orvanhapi.dll", L"orvanhapi.dll"},
                                       {L"orvanhapi", L"orvanhapi.DLL"},
                                       {L"E:\\Vendor\\Thing.Dll", L"E:\\Vendor\\Thing.Dll"},
                                       {L"CoreAgnt.dll.dll", L"CoreAgnt.dll.dll"}};
    for (const auto& [name, path] : names) {
        m_log.Clear();
        EXPECT_EQ(path, PathOf(name));
        const std::wstring wide = name;
        EXPECT_EQ(std::vector<std::string>{NoPath(std::string(wide.begin(), wide.end()))}, m_log.Messages());
    }
}

TEST_F(LoadingModules, AModuleOfAListWithoutItsRegistryValueIsLoadedByTheNameAsGiven) {
    for (const wchar_t* name : {L"D:\\Old\\CoreAgnt.dll", L"QelCoreAgent.dll", L"QelDcbSvc.dll", L"QelResEnu.dll"}) {
        m_log.Clear();
        EXPECT_EQ(name, PathOf(name));
        const std::wstring wide = name;
        EXPECT_EQ(1, m_log.Count(NoPath(std::string(wide.begin(), wide.end()))));
    }
}

TEST_F(LoadingModules, DirectoriesFromTheRegistryAreReadWithTheirMessages) {
    PathOf(L"QelResEnu");
    EXPECT_TRUE(m_log.Has("GetPathFromRegistry() - Unable to open the registry key - exiting"));
    m_hive.Set(SUITE_KEY, L"Unrelated", L"x");
    PathOf(L"QelResEnu");
    EXPECT_TRUE(m_log.Has("GetPathFromRegistry() - Unable to open the registry value - exiting"));
}

TEST_F(LoadingModules, AFailedLoadIsNullAndKeepsTheReason) {
    m_loader.result = nullptr;
    m_loader.error = ERROR_BAD_EXE_FORMAT;
    SetLastError(0);
    EXPECT_EQ(nullptr, CHelper().PwLoadLibrary(L"orvanhapi.dll"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_BAD_EXE_FORMAT), GetLastError());
}

TEST_F(LoadingModules, ANameThatIsLongerThanAnyPathDoesNoHarm) {
    const std::wstring name(40000, L'x');
    CQelString text;
    text = name;
    CHelper().PwLoadLibrary(text);
    ASSERT_EQ(1u, m_loader.paths.size());
    EXPECT_EQ(name + L".DLL", m_loader.paths.front());
}

TEST(PwLoadLibrary, LoadsAModuleThatTheCallerFrees) {
    HMODULE module = CHelper().PwLoadLibrary(L"version");
    ASSERT_NE(nullptr, module);
    EXPECT_EQ(GetModuleHandleW(L"version.dll"), module);
    EXPECT_TRUE(FreeLibrary(module));
}

TEST(PwLoadLibrary, OfAMissingModuleFailsWithModuleNotFound) {
    EXPECT_EQ(nullptr, CHelper().PwLoadLibrary(L"there-is-no-such-module"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MOD_NOT_FOUND), GetLastError());
}

} // namespace
