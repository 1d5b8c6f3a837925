// The diagnostic log. Most tests make a log of their own; the scope tracer writes to the program's.
#include "FcoeAgent/QelDebug.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <optional>
#include <regex>
#include <thread>

#include <gtest/gtest.h>

#include "Common/Src/ProcessExit.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
constexpr wchar_t MODULE[] = L"FCOEAGENT";

// Everything the debugger would see while the object lives.
class DebuggerOutput {
  public:
    DebuggerOutput() : m_patch(nullptr, "KERNEL32.dll", "OutputDebugStringW", reinterpret_cast<void*>(&Take)) {
        s_text.clear();
    }
    const std::wstring& Text() const { return s_text; }

  private:
    static void WINAPI Take(const wchar_t* text) { s_text += text; }

    inline static std::wstring s_text;
    ImportPatch m_patch;
};

std::vector<std::string> LinesOf(const fs::path& file) {
    std::vector<std::string> lines;
    const std::string bytes = ReadFileBytes(file);
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t end = std::min(bytes.find("\r\n", at), bytes.size());
        lines.push_back(bytes.substr(at, end - at));
        at = end + 2;
    }
    return lines;
}

std::vector<std::string> MessagesOf(const fs::path& file) {
    auto lines = LinesOf(file);
    for (std::string& line : lines)
        line.erase(0, line.find("\t\t") + 2);
    return lines;
}

using Texts = std::vector<std::string>;

class QelDebug : public testing::Test {
  protected:
    QelDebug() {
        wchar_t temp[MAX_PATH] = {};
        GetEnvironmentVariableW(L"Temp", temp, MAX_PATH);
        m_tempBefore = temp;
        GetCurrentDirectoryW(MAX_PATH, temp);
        m_directoryBefore = temp;
        m_file = m_folder.Path() / L"log.txt";
        SetTemp(m_folder.Path());
    }
    ~QelDebug() override {
        m_log.reset();
        SetTemp(m_tempBefore);
        SetCurrentDirectoryW(m_directoryBefore.c_str());
    }
    static void SetTemp(const fs::path& folder) { SetEnvironmentVariableW(L"Temp", folder.c_str()); }
    void SetTrace(DWORD level) { m_hive.Set(SUITE, L"TRACE", level); }
    void SetInstalledDir(const fs::path& folder) { m_hive.Set(SUITE, L"InstalledDir", folder.wstring()); }
    fs::path SubFolder(const wchar_t* name) {
        fs::create_directories(m_folder.Path() / name);
        return m_folder.Path() / name;
    }
    int Configure(ULONG level, int append = 0, ULONG maximumSize = 0) {
        return m_log->Configure(MODULE, L"log.txt", level, append, maximumSize);
    }
    // Configures a log at level 3 and writes one line; whether it lies in the file.
    bool WritesTo(const fs::path& file, const wchar_t* module, const std::wstring& name) {
        CQelDebug log;
        EXPECT_EQ(0, log.Configure(module, name.c_str(), 3, 0, 0));
        log.Print(L"here");
        return MessagesOf(file) == Texts{"here"};
    }

    PrivateHive m_hive;
    TempFolder m_folder;
    fs::path m_file;
    std::wstring m_tempBefore, m_directoryBefore;
    std::optional<CQelDebug> m_log{std::in_place};
};

TEST_F(QelDebug, IsOffUntilConfigured) {
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 1, L"lost");
    EXPECT_EQ(0, Configure(3));
    EXPECT_TRUE(m_log->IsPrinting());
    EXPECT_EQ("", ReadFileBytes(m_file));
}

TEST_F(QelDebug, LineHasAHeader) {
    ASSERT_EQ(0, Configure(3));
    SYSTEMTIME before, after;
    LARGE_INTEGER counterBefore, counterAfter;
    GetLocalTime(&before);
    QueryPerformanceCounter(&counterBefore);
    m_log->Print(L"value %d of %s", 7, L"port");
    QueryPerformanceCounter(&counterAfter);
    GetLocalTime(&after);
    const Texts lines = LinesOf(m_file);
    ASSERT_EQ(1u, lines.size());
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(lines[0], parts,
                                 std::regex("FCOEAGENT\tPID:([0-9a-f]+)\tTID:([0-9a-f]+)\t(\\d\\d):(\\d\\d):(\\d\\d)\\."
                                            "(\\d\\d\\d)\t\\(([0-9A-F]+)\\)\tTIER 0\t\tvalue 7 of port")))
        << lines[0];
    EXPECT_EQ(GetCurrentProcessId(), std::stoul(parts[1], nullptr, 16));
    EXPECT_EQ(GetCurrentThreadId(), std::stoul(parts[2], nullptr, 16));
    const auto ofDay = [](const SYSTEMTIME& t) {
        return ((t.wHour * 60 + t.wMinute) * 60 + t.wSecond) * 1000 + t.wMilliseconds;
    };
    const int written =
        ((std::stoi(parts[3]) * 60 + std::stoi(parts[4])) * 60 + std::stoi(parts[5])) * 1000 + std::stoi(parts[6]);
    if (ofDay(before) <= ofDay(after)) { // not over midnight
        EXPECT_LE(ofDay(before), written);
        EXPECT_GE(ofDay(after), written);
    }
    const LONG64 counter = std::stoll(parts[7], nullptr, 16);
    EXPECT_LE(counterBefore.QuadPart, counter);
    EXPECT_GE(counterAfter.QuadPart, counter);
}

TEST_F(QelDebug, EachLineIsFlushed) {
    ASSERT_EQ(0, Configure(3));
    m_log->Print(L"one");
    EXPECT_EQ(Texts{"one"}, MessagesOf(m_file));
    m_log->Print(L"two");
    EXPECT_EQ((Texts{"one", "two"}), MessagesOf(m_file));
}

TEST_F(QelDebug, LevelZeroIsOff) {
    EXPECT_EQ(-1, Configure(0));
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 1, L"lost");
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(QelDebug, LevelZeroSilencesAConfiguredLog) {
    ASSERT_EQ(0, Configure(3));
    EXPECT_EQ(-1, Configure(0));
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 1, L"lost");
    EXPECT_FALSE(m_log->IsPrinting());
    EXPECT_EQ("", ReadFileBytes(m_file));
}

TEST_F(QelDebug, LevelTwoWritesErrorsOnly) {
    SetInstalledDir(m_folder.Path());
    ASSERT_EQ(0, Configure(2));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 12, L"bad %s", L"thing");
    m_log->Print(L"still lost");
    EXPECT_EQ(Texts{"f.cpp (12): bad thing"}, MessagesOf(m_file));
}

TEST_F(QelDebug, LevelsOneThreeAndFourWriteBoth) {
    SetInstalledDir(m_folder.Path());
    for (ULONG level : {1ul, 3ul, 4ul}) {
        m_log.emplace();
        const DebuggerOutput debugger;
        ASSERT_EQ(0, Configure(level));
        m_log->Print(L"line");
        m_log->Error(L"f.cpp", 12, L"bad");
        EXPECT_EQ((Texts{"line", "f.cpp (12): bad"}), MessagesOf(m_file)) << level;
        EXPECT_EQ(level == 4, !debugger.Text().empty()) << level;
    }
}

TEST_F(QelDebug, LevelFourSendsEveryLineToTheDebugger) {
    const DebuggerOutput debugger;
    ASSERT_EQ(0, Configure(4));
    m_log->Print(L"line \u4e2d");
    m_log->Error(L"f.cpp", 12, L"bad");
    EXPECT_TRUE(
        std::regex_match(debugger.Text(), std::wregex(L"FCOEAGENT\tPID:[^\n]*\tTIER 0\t\tline \u4e2d\n"
                                                      L"FCOEAGENT\tPID:[^\n]*\tTIER 0\t\tf.cpp \\(12\\): bad\n")))
        << "the lines themselves, each with its end";
}

TEST_F(QelDebug, WithoutTheSuitesKeyLevelOneStaysOff) {
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, Configure(2));
    EXPECT_FALSE(m_log->IsPrinting());
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(QelDebug, AFailedConfigureChangesNothing) {
    ASSERT_EQ(0, Configure(3));
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, m_log->Configure(L"OTHER", L"", 3, 0, 1));
    m_log->Print(L"one");
    m_log->Print(L"two");
    EXPECT_EQ((Texts{"one", "two"}), MessagesOf(m_file));
    EXPECT_TRUE(LinesOf(m_file)[0].starts_with("FCOEAGENT\t"));
}

TEST_F(QelDebug, TraceZeroTurnsTheLogOff) {
    SetInstalledDir(m_folder.Path());
    SetTrace(0);
    EXPECT_EQ(-1, Configure(1));
    EXPECT_EQ(-1, Configure(2));
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(QelDebug, TraceFourGivesFileAndDebugger) {
    const DebuggerOutput debugger;
    SetInstalledDir(m_folder.Path());
    SetTrace(4);
    ASSERT_EQ(0, Configure(1));
    m_log->Print(L"line");
    EXPECT_EQ(Texts{"line"}, MessagesOf(m_file));
    EXPECT_TRUE(debugger.Text().ends_with(L"line\n"));
}

TEST_F(QelDebug, TraceReplacesLevelsOneAndTwo) {
    SetInstalledDir(m_folder.Path());
    SetTrace(2);
    ASSERT_EQ(0, Configure(1));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log.emplace();
    SetTrace(1);
    ASSERT_EQ(0, Configure(2));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebug, TraceDoesNotReplaceLevelsThreeAndFour) {
    SetInstalledDir(m_folder.Path());
    SetTrace(0);
    EXPECT_EQ(0, Configure(3));
    m_log.emplace();
    EXPECT_EQ(0, Configure(4));
    const DebuggerOutput debugger;
    m_log->Print(L"line");
    EXPECT_FALSE(debugger.Text().empty());
}

TEST_F(QelDebug, WithoutTraceTheCallersLevelStays) {
    SetInstalledDir(m_folder.Path());
    ASSERT_EQ(0, Configure(2));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log.emplace();
    ASSERT_EQ(0, Configure(1));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebug, TraceThatIsNoFourByteValueIsIgnored) {
    SetInstalledDir(m_folder.Path());
    m_hive.Set(SUITE, L"TRACE", std::wstring(L"two"));
    ASSERT_EQ(0, Configure(1));
    EXPECT_TRUE(m_log->IsPrinting());
}

TEST_F(QelDebug, TraceOfAnotherTypeCountsByItsBytes) {
    SetInstalledDir(m_folder.Path());
    const BYTE two[4] = {2};
    m_hive.SetRaw(SUITE, L"TRACE", REG_BINARY, two, 4);
    ASSERT_EQ(0, Configure(1));
    EXPECT_FALSE(m_log->IsPrinting());
}

TEST_F(QelDebug, FileNameOf245CharactersIsAccepted) {
    std::wstring name = (m_folder.Path() / L"x").wstring();
    name.resize(245, L'x');
    EXPECT_TRUE(WritesTo(name, L"PwSetup", name));
}

TEST_F(QelDebug, FileNameOf246CharactersIsRefused) {
    std::wstring name = (m_folder.Path() / L"x").wstring();
    name.resize(246, L'x');
    EXPECT_EQ(-1, m_log->Configure(L"PwSetup", name.c_str(), 3, 0, 0));
    EXPECT_FALSE(fs::exists(name));
}

TEST_F(QelDebug, MissingNamesAreRefused) {
    EXPECT_EQ(-1, m_log->Configure(MODULE, L"", 3, 0, 0));
    EXPECT_EQ(-1, m_log->Configure(MODULE, nullptr, 3, 0, 0));
    EXPECT_EQ(-1, m_log->Configure(nullptr, L"log.txt", 3, 0, 0));
    EXPECT_FALSE(m_log->IsPrinting());
}

TEST_F(QelDebug, WithoutTheSuitesKeyTheFileLiesInTemp) {
    EXPECT_TRUE(WritesTo(m_file, MODULE, L"log.txt"));
}

TEST_F(QelDebug, WithTheSuitesKeyTheFileLiesInItsFolder) {
    const fs::path installed = SubFolder(L"installed");
    SetInstalledDir(installed);
    EXPECT_TRUE(WritesTo(installed / L"log.txt", MODULE, L"log.txt"));
}

TEST_F(QelDebug, TheInstallersFileLiesInTempAlways) {
    SetInstalledDir(SubFolder(L"installed"));
    EXPECT_TRUE(WritesTo(m_file, L"Qel2Setp", L"log.txt"));
    EXPECT_TRUE(WritesTo(m_file, L"qel2SETP", L"log.txt"));
    m_hive.DeleteKey(SUITE);
    EXPECT_TRUE(WritesTo(m_file, L"Qel2Setp", L"log.txt"));
}

TEST_F(QelDebug, TheSetupProgramsNameIsThePath) {
    SetInstalledDir(SubFolder(L"installed"));
    const fs::path file = SubFolder(L"setup") / L"log.txt";
    EXPECT_TRUE(WritesTo(file, L"PwSetup", file));
    EXPECT_TRUE(WritesTo(file, L"PWSETUP", file));
    SetCurrentDirectoryW(SubFolder(L"current").c_str());
    EXPECT_TRUE(WritesTo(m_folder.Path() / L"current" / L"log.txt", L"pwsetup", L"log.txt"));
}

TEST_F(QelDebug, WithoutInstalledDirTheFileLiesAtTheDrivesRoot) {
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

TEST_F(QelDebug, ATempThatIsTooLongCountsAsNone) {
    SetCurrentDirectoryW(m_folder.Path().c_str());
    const std::wstring name = L"fcoe-log-test-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
    const fs::path file = m_folder.Path().root_path() / name;
    SetTemp(std::wstring(260, L'x'));
    EXPECT_TRUE(WritesTo(file, MODULE, name));
    fs::remove(file);
}

TEST_F(QelDebug, FallsBackToTemp) {
    SetInstalledDir(m_folder.Path() / L"missing");
    EXPECT_TRUE(WritesTo(m_file, MODULE, L"log.txt"));
    EXPECT_TRUE(WritesTo(m_file, L"PwSetup", m_folder.Path() / L"missing" / L"deep" / L"log.txt"));
}

TEST_F(QelDebug, FailsWhenTheFallbackFailsToo) {
    SetInstalledDir(m_folder.Path() / L"missing");
    SetTemp(m_folder.Path() / L"missing");
    EXPECT_EQ(-1, Configure(3));
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Error(L"f.cpp", 1, L"lost");
}

TEST_F(QelDebug, TheFallbacksPathIsBounded) {
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

TEST_F(QelDebug, APathWithoutAFolderHasNoFallback) {
    SetCurrentDirectoryW(m_folder.Path().c_str());
    EXPECT_EQ(0, m_log->Configure(L"PwSetup", L"no<such>name?", 3, 0, 0)) << "configured, without a file";
    EXPECT_FALSE(m_log->IsPrinting());
    m_log->Print(L"lost");
    m_log->Error(L"f.cpp", 1, L"lost");
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
}

TEST_F(QelDebug, RewritesOrAppends) {
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

TEST_F(QelDebug, OthersMayReadTheOpenFileButNotWrite) {
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

TEST_F(QelDebug, ReconfiguringMovesToTheNewFile) {
    ASSERT_EQ(0, Configure(3));
    m_log->Print(L"one");
    ASSERT_EQ(0, m_log->Configure(L"OTHER", L"other.txt", 3, 0, 0));
    m_log->Print(L"two");
    EXPECT_EQ(Texts{"one"}, MessagesOf(m_file));
    EXPECT_EQ(Texts{"two"}, MessagesOf(m_folder.Path() / L"other.txt"));
    EXPECT_TRUE(LinesOf(m_folder.Path() / L"other.txt")[0].starts_with("OTHER\t"));
    EXPECT_TRUE(fs::remove(m_file)) << "the first file is closed";
}

TEST_F(QelDebug, WithoutMaximumSizeTheFileGrows) {
    ASSERT_EQ(0, Configure(3, 0, 0));
    for (int i = 0; i < 2000; ++i)
        m_log->Print(L"line %d", i);
    EXPECT_EQ(2000u, LinesOf(m_file).size());
}

TEST_F(QelDebug, LinesThatFindTheFileAtTheMaximumSizeAreDropped) {
    ASSERT_EQ(0, Configure(3, 0, 1));
    m_log->Print(L"the first finds an empty file");
    const auto length = static_cast<ULONG>(fs::file_size(m_file));
    m_log->Print(L"dropped");
    m_log->Error(L"f.cpp", 1, L"dropped");
    EXPECT_EQ(length, fs::file_size(m_file));

    m_log.emplace();
    ASSERT_EQ(0, Configure(3, 1, length));
    m_log->Print(L"the file is exactly full");
    EXPECT_EQ(length, fs::file_size(m_file));

    m_log.emplace();
    ASSERT_EQ(0, Configure(3, 1, length + 1));
    m_log->Print(L"one byte is left");
    m_log->Print(L"dropped");
    EXPECT_EQ((Texts{"the first finds an empty file", "one byte is left"}), MessagesOf(m_file));
}

TEST_F(QelDebug, AMessageOfAnyLengthIsWhole) {
    ASSERT_EQ(0, Configure(3));
    Texts expected;
    // The header is some 70 characters, and short lines have room for 512.
    for (std::size_t length = 380; length <= 520; ++length) {
        m_log->Print(L"%s%d%s%lld%llX", std::wstring(length, L'x').c_str(), -12345, L"ab", 67890LL, 0xABCDEFULL);
        expected.push_back(std::string(length, 'x') + "-12345ab67890ABCDEF");
    }
    EXPECT_EQ(expected, MessagesOf(m_file));
}

TEST_F(QelDebug, ErrorsAreCutAt1023Characters) {
    ASSERT_EQ(0, Configure(3));
    m_log->Error(L"f.cpp", 1, L"%s", std::wstring(1023, L'x').c_str());
    m_log->Error(L"f.cpp", 2, L"%s", std::wstring(1024, L'y').c_str());
    m_log->Print(L"%s", std::wstring(5000, L'z').c_str());
    EXPECT_EQ(
        (Texts{"f.cpp (1): " + std::string(1023, 'x'), "f.cpp (2): " + std::string(1023, 'y'), std::string(5000, 'z')}),
        MessagesOf(m_file));
}

TEST_F(QelDebug, ErrorTextIsNoFormat) {
    ASSERT_EQ(0, Configure(3));
    m_log->Error(L"f%d.cpp", 1, L"%s", L"100%s");
    EXPECT_EQ(Texts{"f%d.cpp (1): 100%s"}, MessagesOf(m_file));
}

TEST_F(QelDebug, CharactersOutsideTheCodePageDoNotLoseTheLine) {
    ASSERT_EQ(0, Configure(3));
    m_log->Print(L"before \u4e2d\U0001f600 after \u00e4");
    m_log->Print(L"next");
    char latin[8] = {};
    WideCharToMultiByte(CP_ACP, 0, L"\u00e4", 1, latin, sizeof latin, nullptr, nullptr);
    const Texts messages = MessagesOf(m_file);
    ASSERT_EQ(2u, messages.size());
    EXPECT_TRUE(messages[0].starts_with("before ?")) << messages[0];
    EXPECT_TRUE(messages[0].ends_with(std::string(" after ") + latin)) << messages[0];
    EXPECT_EQ("next", messages[1]);
}

TEST_F(QelDebug, ThreadsWriteWholeLines) {
    ASSERT_EQ(0, Configure(3));
    constexpr int COUNT = 2000;
    const auto write = [this](wchar_t mark) {
        const std::wstring text(200, mark);
        for (int i = 0; i < COUNT; ++i) {
            if (i % 2)
                m_log->Print(L"%s %d", text.c_str(), i);
            else
                m_log->Error(L"f.cpp", i, L"%s", text.c_str());
        }
    };
    std::thread one(write, L'a'), two(write, L'b');
    one.join();
    two.join();
    const Texts messages = MessagesOf(m_file);
    EXPECT_EQ(2u * COUNT, messages.size());
    for (char mark : {'a', 'b'}) {
        const std::string text(200, mark);
        Texts expected, found;
        for (int i = 0; i < COUNT; ++i)
            expected.push_back(i % 2 ? text + " " + std::to_string(i) : "f.cpp (" + std::to_string(i) + "): " + text);
        std::copy_if(messages.begin(), messages.end(), std::back_inserter(found),
                     [&text](const std::string& line) { return line.find(text) != std::string::npos; });
        EXPECT_EQ(expected, found);
    }
}

using PFN_Format = int(__cdecl*)(wchar_t*, std::size_t, const wchar_t*, va_list);
PFN_Format g_format;
int g_formatFailures;
bool g_throw;
int __cdecl FailingFormatter(wchar_t* text, std::size_t size, const wchar_t* format, va_list args) {
    if (g_formatFailures-- <= 0)
        return g_format(text, size, format, args);
    if (g_throw)
        throw std::bad_alloc();
    return -1;
}

// Lets the string's formatting fail so many times; a message without conversions is not formatted.
class FailingFormat {
  public:
    FailingFormat(int failures, bool exception)
        : m_patch(GetModuleHandleW(L"QelColib.dll"), "msvcrt.dll", "_vsnwprintf",
                  reinterpret_cast<void*>(&FailingFormatter)) {
        g_format = m_patch.Original<PFN_Format>();
        g_formatFailures = failures;
        g_throw = exception;
    }

  private:
    ImportPatch m_patch;
};

// Lets the conversion to bytes fail, by an exception, so many times; a line of ASCII is not converted.
class FailingConversion {
  public:
    explicit FailingConversion(int failures)
        : m_patch(GetModuleHandleW(L"QelColib.dll"), "KERNEL32.dll", "WideCharToMultiByte",
                  reinterpret_cast<void*>(&Convert)) {
        s_original = m_patch.Original<decltype(s_original)>();
        s_failures = failures;
    }

  private:
    static int WINAPI Convert(UINT page, DWORD flags, const wchar_t* source, int length, char* bytes, int size,
                              const char* replacement, BOOL* replaced) {
        if (s_failures-- > 0)
            throw std::bad_alloc();
        return s_original(page, flags, source, length, bytes, size, replacement, replaced);
    }

    inline static decltype(&WideCharToMultiByte) s_original;
    inline static int s_failures;
    ImportPatch m_patch;
};

TEST_F(QelDebug, AMessageThatCannotBeFormattedIsEmpty) {
    ASSERT_EQ(0, Configure(3));
    const FailingFormat fails(2, false); // the short try and the long one
    m_log->Print(L"text %x", 1);
    m_log->Print(L"text %x", 1);
    EXPECT_EQ((Texts{"", "text 1"}), MessagesOf(m_file));
}

TEST_F(QelDebug, AnExceptionIsLogged) {
    ASSERT_EQ(0, Configure(3));
    {
        const FailingFormat fails(1, true);
        m_log->Print(L"text %x", 1);
    }
    {
        const FailingConversion fails(1);
        m_log->Error(L"f.cpp", 1, L"\u00e4");
    }
    EXPECT_EQ(Texts(2, "CQelDebug::Error - EXCEPTION DURING DEBUG PRINT."), MessagesOf(m_file));
}

TEST_F(QelDebug, AnExceptionThatLastsReachesNobody) {
    ASSERT_EQ(0, m_log->Configure(L"M\u00e4", L"log.txt", 3, 0, 0));
    {
        const FailingConversion fails(1000);
        m_log->Print(L"lost");
        m_log->Error(L"f.cpp", 1, L"lost");
    }
    std::thread([this] { m_log->Print(L"the lock is free"); }).join();
    EXPECT_EQ(Texts{"the lock is free"}, MessagesOf(m_file));
}

TEST(QelDebugScope, WritesEntryAndExit) {
    LogCapture log;
    {
        const CQelDebugScope scope(L"Class::Operation");
        EXPECT_EQ(Texts{"ENTRY:  Class::Operation"}, log.Lines());
    }
    EXPECT_EQ((Texts{"ENTRY:  Class::Operation", "EXIT:  Class::Operation"}), log.Lines());
}

TEST(QelDebugScope, ExitShowsTheResultAtTheEnd) {
    LogCapture log;
    BOOL isDone = TRUE;
    LONG count = 1;
    QEL_RESULT result{1, 2};
    HRESULT hresult = 0;
    {
        const CQelDebugScope boolean(L"B", &isDone);
        const CQelDebugScope integer(L"I", &count);
        const CQelDebugScope record(L"R", &result);
        CQelDebugScope com(L"H");
        com.ShowHResult(&hresult);
        isDone = FALSE;
        count = -7;
        result.ulErrCode = 0xFFFFFFFF;
        hresult = E_FAIL;
    }
    EXPECT_EQ((Texts{"ENTRY:  B", "ENTRY:  I", "ENTRY:  R", "ENTRY:  H", "EXIT:  H, HRESULT=0X80004005",
                     "EXIT:  R, res.ulErrCode=-1", "EXIT:  I, nReturn=-7", "EXIT:  B, bReturn=false"}),
              log.Lines());
    log.Clear();
    isDone = 5;
    { const CQelDebugScope boolean(L"B", &isDone); }
    EXPECT_TRUE(log.Has("EXIT:  B, bReturn=true"));
}

TEST(QelDebugScope, NullResultPointerWritesThePlainExit) {
    LogCapture log;
    {
        const CQelDebugScope boolean(L"B", static_cast<const BOOL*>(nullptr));
        const CQelDebugScope integer(L"I", static_cast<const LONG*>(nullptr));
        const CQelDebugScope record(L"R", static_cast<const QEL_RESULT*>(nullptr));
        CQelDebugScope com(L"H");
        com.ShowHResult(nullptr);
    }
    EXPECT_EQ(
        (Texts{"ENTRY:  B", "ENTRY:  I", "ENTRY:  R", "ENTRY:  H", "EXIT:  H", "EXIT:  R", "EXIT:  I", "EXIT:  B"}),
        log.Lines());
}

namespace {

// The tiers of the lines, counted from the first one's: threads of earlier tests may have left the log at any tier.
std::vector<int> Tiers(const LogCapture& log) {
    std::vector<int> tiers;
    for (const std::string& line : log.WholeLines())
        tiers.push_back(std::stoi(line.substr(line.find("\tTIER ") + 6)));
    const int first = tiers.empty() ? 0 : tiers[0];
    for (int& tier : tiers)
        tier -= first;
    return tiers;
}

} // namespace

TEST(QelDebugScope, NestingIsTheTier) {
    const LogCapture log;
    QEL_PRINT(L"before");
    {
        const CQelDebugScope outer(L"O");
        QEL_PRINT(L"in the outer");
        const CQelDebugScope inner(L"I");
    }
    QEL_PRINT(L"outside");
    EXPECT_EQ((Texts{"before", "ENTRY:  O", "in the outer", "ENTRY:  I", "EXIT:  I", "EXIT:  O", "outside"}),
              log.Lines());
    EXPECT_EQ((std::vector{0, 1, 1, 2, 2, 1, 0}), Tiers(log));
}

TEST(QelDebugScope, NamelessScopeOnlyCounts) {
    const LogCapture log;
    QEL_PRINT(L"before");
    {
        const CQelDebugScope scope(nullptr);
        QEL_PRINT(L"inside");
    }
    QEL_PRINT(L"outside");
    EXPECT_EQ((Texts{"before", "inside", "outside"}), log.Lines());
    EXPECT_EQ((std::vector{0, 1, 0}), Tiers(log));
}

TEST(QelDebugScope, PrintArgumentsAreEvaluatedOnlyWhenTheLogIsOn) {
    int evaluated = 0;
    const LogCapture log;
    QEL_PRINT(L"%d", ++evaluated);
    EXPECT_EQ(1, evaluated);
}

// A child process whose own log is at the level; the exit code tells whether the file holds what is expected.
class QelDebugChild : public QelDebug {
  protected:
    template <class F> void Run(ULONG level, const Texts& expected, F write) {
        SetInstalledDir(m_folder.Path());
        if (level != 0 && CQelDebug::Instance().Configure(MODULE, L"log.txt", level, 0, 0) != 0)
            _exit(2);
        write();
        _exit(MessagesOf(m_file) == expected ? 0 : 1);
    }
};

TEST_F(QelDebugChild, LevelTwoWritesNoTraces) {
    EXPECT_EXIT(Run(2, {"f.cpp (3): bad"},
                    [] {
                        int evaluated = 0;
                        const CQelDebugScope scope(L"Class::Operation");
                        QEL_PRINT(L"%d", ++evaluated);
                        if (evaluated)
                            _exit(3);
                        CQelDebug::Instance().Error(L"f.cpp", 3, L"bad");
                    }),
                testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugChild, ALogConfiguredInsideAScopeShowsItsExitAtItsTier) {
    EXPECT_EXIT(Run(0, {"ENTRY:  Inner", "EXIT:  Inner", "EXIT:  Outer"},
                    [] {
                        const CQelDebugScope outer(L"Outer");
                        if (CQelDebug::Instance().Configure(MODULE, L"log.txt", 1, 0, 0) != 0)
                            _exit(2);
                        const CQelDebugScope inner(L"Inner");
                    }),
                testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugChild, InstallingTheHandlerBeforeTheFileIsOpenIsNotLogged) {
    EXPECT_EXIT(Run(1, {"line"}, [] { QEL_PRINT(L"line"); }), testing::ExitedWithCode(0), "");
}

HANDLE g_inside;
void WINAPI BlockInLocalTime(SYSTEMTIME*) {
    SetEvent(g_inside);
    Sleep(INFINITE);
}

// While the process ends, the lock may be held by a thread that is gone: nobody may wait for it.
TEST_F(QelDebugChild, NothingWaitsForALockWhileTheProcessEnds) {
    const auto run = [this] {
        ASSERT_EQ(0, Configure(3));
        m_log->Print(L"before");
        const ImportPatch patch(nullptr, "KERNEL32.dll", "GetLocalTime", reinterpret_cast<void*>(&BlockInLocalTime));
        g_inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        std::thread([this] { m_log->Print(L"holds the lock for ever"); }).detach();
        WaitForSingleObject(g_inside, INFINITE);
        EXPECT_FALSE(ProcessIsTerminating());
        MarkProcessTerminating();
        EXPECT_TRUE(ProcessIsTerminating());
        m_log->Print(L"dropped");
        m_log->Error(L"f.cpp", 1, L"dropped");
        EXPECT_EQ(-1, m_log->Configure(MODULE, L"other.txt", 3, 0, 0));
        m_log.reset();
        _exit(!HasFailure() && MessagesOf(m_file) == Texts{"before"} ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST_F(QelDebugChild, AFreeLockStillWritesWhileTheProcessEnds) {
    EXPECT_EXIT(Run(1, {"line"},
                    [] {
                        MarkProcessTerminating();
                        QEL_PRINT(L"line");
                    }),
                testing::ExitedWithCode(0), "");
}

} // namespace
