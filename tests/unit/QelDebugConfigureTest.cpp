// How the diagnostic log finds its level and its file.
#include "FcoeAgent/QelDebug.h"

#include <algorithm>
#include <bit>

#include <io.h>

#include "tests/kit/ImportPatch.h"
#include "tests/unit/DebuggerOutput.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

namespace fs = std::filesystem;

class QelDebugConfigure : public QelDebugFixture {
  protected:
    QelDebugConfigure() {
        wchar_t directory[MAX_PATH] = {};
        GetCurrentDirectoryW(MAX_PATH, directory);
        m_directoryBefore = directory;
    }
    ~QelDebugConfigure() override { SetCurrentDirectoryW(m_directoryBefore.c_str()); }

    fs::path SubFolder(const wchar_t* name) {
        fs::create_directories(m_folder.Path() / name);
        return m_folder.Path() / name;
    }
    // Configures a log at level 3 and writes one line; whether it lies in the file.
    bool WritesTo(const fs::path& file, const wchar_t* module, const std::wstring& name) {
        CQelDebug log;
        EXPECT_EQ(0, log.Configure(module, name.c_str(), 3, 0, 0));
        log.Print(L"here");
        return MessagesOf(file) == Texts{"here"};
    }

  private:
    std::wstring m_directoryBefore;
};

TEST_F(QelDebugConfigure, WithoutTheSuitesKeyLevelOneStaysOff) {
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, Configure(2));
    EXPECT_FALSE(m_log->IsPrinting());
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(QelDebugConfigure, AFailedConfigureChangesNothing) {
    ASSERT_EQ(0, Configure(3));
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, m_log->Configure(L"OTHER", L"", 3, 0, 1));
    m_log->Print(L"one");
    m_log->Print(L"two");
    EXPECT_EQ((Texts{"one", "two"}), MessagesOf(m_file));
    EXPECT_TRUE(LinesOf(m_file)[0].starts_with("FCOEAGENT\t"));
}

TEST_F(QelDebugConfigure, TraceZeroTurnsTheLogOff) {
    SetInstalledDir(m_folder.Path());
    SetTrace(0);
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, Configure(2));
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(QelDebugConfigure, TraceFourGivesFileAndDebugger) {
    const DebuggerOutput debugger;
    SetInstalledDir(m_folder.Path());
    SetTrace(4);
    ASSERT_EQ(0, Configure(1));
    m_log->Print(L"line");
    EXPECT_EQ(Texts{"line"}, MessagesOf(m_file));
    EXPECT_TRUE(debugger.Text().ends_with(L"line\n"));
}

TEST_F(QelDebugConfigure, TraceReplacesLevelsOneAndTwo) {
    SetInstalledDir(m_folder.Path());
    SetTrace(2);
    ASSERT_EQ(0, Configure(1));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log.emplace();
    SetTrace(1);
    ASSERT_EQ(0, Configure(2));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebugConfigure, TraceDoesNotReplaceLevelsThreeAndFour) {
    SetInstalledDir(m_folder.Path());
    SetTrace(0);
    EXPECT_EQ(0, Configure(3));
    m_log.emplace();
    EXPECT_EQ(0, Configure(4));
    const DebuggerOutput debugger;
    m_log->Print(L"line");
    EXPECT_FALSE(debugger.Text().empty());
}

TEST_F(QelDebugConfigure, WithoutTraceTheCallersLevelStays) {
    SetInstalledDir(m_folder.Path());
    ASSERT_EQ(0, Configure(2));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log.emplace();
    ASSERT_EQ(0, Configure(1));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebugConfigure, TraceThatIsNoFourByteValueIsIgnored) {
    SetInstalledDir(m_folder.Path());
    m_hive.Set(SUITE, L"TRACE", std::wstring(L"two"));
    ASSERT_EQ(0, Configure(1));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebugConfigure, TraceOfAnotherTypeCountsByItsBytes) {
    SetInstalledDir(m_folder.Path());
    const BYTE two[4] = {2};
    m_hive.SetRaw(SUITE, L"TRACE", REG_BINARY, two, 4);
    ASSERT_EQ(0, Configure(1));
    EXPECT_FALSE(m_log->IsPrinting());
}

TEST_F(QelDebugConfigure, FileNameOf245CharactersIsAccepted) {
    std::wstring name = (m_folder.Path() / L"x").wstring();
    name.resize(245, L'x');
    EXPECT_TRUE(WritesTo(name, L"PwSetup", name));
}

TEST_F(QelDebugConfigure, FileNameOf246CharactersIsRefused) {
    std::wstring name = (m_folder.Path() / L"x").wstring();
    name.resize(246, L'x');
    EXPECT_EQ(-1, m_log->Configure(L"PwSetup", name.c_str(), 3, 0, 0));
    EXPECT_FALSE(fs::exists(name));
}

TEST_F(QelDebugConfigure, MissingNamesAreRefused) {
    EXPECT_EQ(-1, m_log->Configure(MODULE, L"", 3, 0, 0));
    EXPECT_EQ(-1, m_log->Configure(MODULE, nullptr, 3, 0, 0));
    EXPECT_EQ(-1, m_log->Configure(nullptr, L"log.txt", 3, 0, 0));
    EXPECT_FALSE(m_log->IsPrinting());
}

TEST_F(QelDebugConfigure, WithoutTheSuitesKeyTheFileLiesInTemp) {
    EXPECT_TRUE(WritesTo(m_file, MODULE, L"log.txt"));
}

TEST_F(QelDebugConfigure, WithTheSuitesKeyTheFileLiesInItsFolder) {
    const fs::path installed = SubFolder(L"installed");
    SetInstalledDir(installed);
    EXPECT_TRUE(WritesTo(installed / L"log.txt", MODULE, L"log.txt"));
}

TEST_F(QelDebugConfigure, TheInstallersFileLiesInTempAlways) {
    SetInstalledDir(SubFolder(L"installed"));
    EXPECT_TRUE(WritesTo(m_file, L"Qel2Setp", L"log.txt"));
    EXPECT_TRUE(WritesTo(m_file, L"qel2SETP", L"log.txt"));
    m_hive.DeleteKey(SUITE);
    EXPECT_TRUE(WritesTo(m_file, L"Qel2Setp", L"log.txt"));
}

TEST_F(QelDebugConfigure, TheSetupProgramsNameIsThePath) {
    SetInstalledDir(SubFolder(L"installed"));
    const fs::path file = SubFolder(L"setup") / L"log.txt";
    EXPECT_TRUE(WritesTo(file, L"PwSetup", file));
    EXPECT_TRUE(WritesTo(file, L"PWSETUP", file));
    SetCurrentDirectoryW(SubFolder(L"current").c_str());
    EXPECT_TRUE(WritesTo(m_folder.Path() / L"current" / L"log.txt", L"pwsetup", L"log.txt"));
}

TEST_F(QelDebugConfigure, WithoutInstalledDirTheFileLiesAtTheDrivesRoot) {
    SetCurrentDirectoryW(m_folder.Path().c_str());
    const std::wstring name = L"fcoe-log-test-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
    const fs::path file = m_folder.Path().root_path() / name;
    m_hive.Set(SUITE, L"other", 1);
    EXPECT_TRUE(WritesTo(file, MODULE, name));
    fs::remove(file);
    SetInstalledDir(std::wstring(512, L'x')); // 1026 bytes with its terminator: not read
    EXPECT_TRUE(WritesTo(file, MODULE, name));
    fs::remove(file);
    EXPECT_FALSE(fs::exists(m_folder.Path() / name));
}

TEST_F(QelDebugConfigure, AnInstalledDirOf511CharactersIsRead) {
    SetInstalledDir(std::wstring(511, L'x'));
    EXPECT_TRUE(WritesTo(m_file, MODULE, L"log.txt")) << "no folder, so that Temp takes its place";
}

TEST_F(QelDebugConfigure, ATempThatIsTooLongCountsAsNone) {
    SetCurrentDirectoryW(m_folder.Path().c_str());
    const std::wstring name = L"fcoe-log-test-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
    const fs::path file = m_folder.Path().root_path() / name;
    SetTemp(std::wstring(260, L'x'));
    EXPECT_TRUE(WritesTo(file, MODULE, name));
    fs::remove(file);
}

TEST_F(QelDebugConfigure, FallsBackToTemp) {
    SetInstalledDir(m_folder.Path() / L"missing");
    EXPECT_TRUE(WritesTo(m_file, MODULE, L"log.txt"));
    EXPECT_TRUE(WritesTo(m_file, L"PwSetup", m_folder.Path() / L"missing" / L"deep" / L"log.txt"));
}

TEST_F(QelDebugConfigure, FailsWhenTheFallbackFailsToo) {
    SetInstalledDir(m_folder.Path() / L"missing");
    SetTemp(m_folder.Path() / L"missing");
    EXPECT_EQ(-1, Configure(3));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Error(L"f.cpp", 1, L"lost");
}

// Name and size are taken over before the file is opened.
TEST_F(QelDebugConfigure, WithoutTheNewFileTheOldOneHasTheNewNameAndSize) {
    ASSERT_EQ(0, Configure(3));
    m_log->Print(L"one");
    const auto length = static_cast<ULONG>(fs::file_size(m_file));
    SetInstalledDir(m_folder.Path() / L"missing");
    SetTemp(m_folder.Path() / L"missing");
    EXPECT_EQ(-1, m_log->Configure(L"OTHER", L"log.txt", 4, 0, length + 1));
    const DebuggerOutput debugger;
    m_log->Print(L"two");
    m_log->Print(L"dropped");
    EXPECT_EQ((Texts{"one", "two"}), MessagesOf(m_file));
    EXPECT_TRUE(LinesOf(m_file)[1].starts_with("OTHER\t"));
    EXPECT_TRUE(debugger.Text().empty()) << "the level stays";
}

TEST_F(QelDebugConfigure, TheFallbacksPathIsBounded) {
    std::wstring deep = m_folder.Path().wstring();
    while (deep.size() < 240)
        deep += L"\\" + std::wstring(std::min<std::size_t>(100, std::max<std::size_t>(1, 244 - deep.size())), L'd');
    std::error_code error;
    if (!fs::create_directories(deep, error))
        GTEST_SKIP() << "no folder of " << deep.size() << " characters here";
    SetInstalledDir(m_folder.Path() / L"missing");
    SetTemp(deep);
    EXPECT_EQ(0, m_log->Configure(MODULE, L"short", 3, 0, 0));
    EXPECT_EQ(-1, m_log->Configure(MODULE, std::wstring(259 - deep.size(), L'l').c_str(), 3, 0, 0));
}

TEST_F(QelDebugConfigure, APathWithoutAFolderHasNoFallback) {
    SetCurrentDirectoryW(m_folder.Path().c_str());
    EXPECT_EQ(0, m_log->Configure(L"PwSetup", L"no<such>name?", 3, 0, 0)) << "configured, without a file";
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 1, L"lost");
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
}

TEST_F(QelDebugConfigure, RewritesOrAppends) {
    ASSERT_EQ(0, Configure(3, 0));
    m_log->Print(L"one");
    m_log.emplace();
    ASSERT_EQ(0, Configure(3, 1));
    m_log->Print(L"two");
    EXPECT_EQ((Texts{"one", "two"}), MessagesOf(m_file));
    m_log.emplace();
    ASSERT_EQ(0, Configure(3, 0));
    m_log->Print(L"three");
    EXPECT_EQ(Texts{"three"}, MessagesOf(m_file));
}

TEST_F(QelDebugConfigure, OthersMayReadTheOpenFileButNotWrite) {
    ASSERT_EQ(0, Configure(3));
    constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE reader = CreateFileW(m_file.c_str(), GENERIC_READ, all, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, reader);
    CloseHandle(reader);
    EXPECT_EQ(INVALID_HANDLE_VALUE,
              CreateFileW(m_file.c_str(), GENERIC_WRITE, all, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError());
    m_log.reset();
    EXPECT_TRUE(fs::remove(m_file)) << "closed with the log";
}

using PFN_Open = FILE*(__cdecl*)(const wchar_t*, const wchar_t*, int);
PFN_Open g_open;
std::vector<FILE*> g_opened;
FILE* __cdecl NoteOpened(const wchar_t* path, const wchar_t* mode, int share) {
    FILE* const file = g_open(path, mode, share);
    if (file)
        g_opened.push_back(file);
    return file;
}

TEST_F(QelDebugConfigure, ChildProcessesDoNotInheritTheFile) {
    const ImportPatch patch(nullptr, "msvcrt.dll", "_wfsopen", reinterpret_cast<void*>(&NoteOpened));
    g_open = patch.Original<PFN_Open>();
    g_opened.clear();
    ASSERT_EQ(0, Configure(3, 0));
    SetInstalledDir(m_folder.Path() / L"missing"); // the file in Temp, whose folder is the test's
    CQelDebug fallback;
    ASSERT_EQ(0, fallback.Configure(MODULE, L"other.txt", 3, 1, 0));
    ASSERT_EQ(2u, g_opened.size());
    for (FILE* const file : g_opened) {
        DWORD flags = 99;
        EXPECT_TRUE(GetHandleInformation(std::bit_cast<HANDLE>(_get_osfhandle(_fileno(file))), &flags));
        EXPECT_EQ(0u, flags & HANDLE_FLAG_INHERIT);
    }
}

TEST_F(QelDebugConfigure, ReconfiguringMovesToTheNewFile) {
    ASSERT_EQ(0, Configure(3));
    m_log->Print(L"one");
    ASSERT_EQ(0, m_log->Configure(L"OTHER", L"other.txt", 3, 0, 0));
    m_log->Print(L"two");
    EXPECT_EQ(Texts{"one"}, MessagesOf(m_file));
    EXPECT_EQ(Texts{"two"}, MessagesOf(m_folder.Path() / L"other.txt"));
    EXPECT_TRUE(LinesOf(m_folder.Path() / L"other.txt")[0].starts_with("OTHER\t"));
    EXPECT_TRUE(fs::remove(m_file)) << "the first file is closed";
}

TEST_F(QelDebugConfigure, InstallingTheHandlerBeforeTheFileIsOpenIsNotLogged) {
    EXPECT_EXIT(Run(1, {"line"}, [] { QEL_PRINT(L"line"); }), testing::ExitedWithCode(0), "");
}

} // namespace
