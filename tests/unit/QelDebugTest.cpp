// What the diagnostic log writes. Each test makes a log of its own.
#include "FcoeAgent/QelDebug.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <regex>
#include <thread>

#include "tests/kit/ImportPatch.h"
#include "tests/unit/DebuggerOutput.h"
#include "tests/unit/QelDebugFixture.h"

namespace {

namespace fs = std::filesystem;

using QelDebug = QelDebugFixture;

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

} // namespace
