// Where messages say that the agent's log is.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/fcoectl/LogFolders.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/LogHint.h"

using reading::LogHint;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

class Log : public LogFolders {
  protected:
    static std::string File(const TempFolder& folder) {
        return fcoectl::ToUtf8((folder.Path() / L"FcoeAgnt.txt").wstring());
    }
    // As an agent of that process begins its log.
    static void Write(const TempFolder& folder, DWORD process) {
        std::ofstream(folder.Path() / L"FcoeAgnt.txt")
            << "FCOEAGENT\tPID:" << std::hex << process << "\tTID:30\t14:03:27.512\t(1D3A5C02)\tTIER 0\t\tline\r\n";
    }
};

} // namespace

TEST_F(Log, OfThisProcessIsNamed) {
    Write(registered, GetCurrentProcessId());
    EXPECT_EQ("The agent's log is " + File(registered) + ".", LogHint());
}

TEST_F(Log, InTheTemporaryFolderIsNamedWithTheReason) {
    const std::string expected =
        "The agent's log is " + File(temporary) + ", because " + File(registered) + " cannot be written.";
    Write(temporary, GetCurrentProcessId());
    EXPECT_EQ(expected, LogHint());
    Write(registered, GetCurrentProcessId() + 4);
    EXPECT_EQ(expected, LogHint()) << "another process has that one";
}

TEST_F(Log, OfNoKnownProcessCanBeEitherFile) {
    const std::string expected =
        "The agent's log is " + File(registered) + ", or " + File(temporary) + " when that file cannot be written.";
    EXPECT_EQ(expected, LogHint());
    Write(registered, GetCurrentProcessId() + 4);
    std::ofstream(temporary.Path() / L"FcoeAgnt.txt").flush();
    EXPECT_EQ(expected, LogHint());
}

TEST_F(Log, FolderThatEndsInABackslashIsNoOther) {
    hive.Set(SUITE, L"InstalledDir", registered.Path().wstring() + L"\\");
    Write(registered, GetCurrentProcessId());
    EXPECT_EQ("The agent's log is " + File(registered) + ".", LogHint());
    hive.Set(SUITE, L"InstalledDir", L"C:\\");
    SetEnvironmentVariableW(L"Temp", L"C:\\Temp\\");
    EXPECT_THAT(LogHint(), HasSubstr("is C:\\FcoeAgnt.txt, or C:\\Temp\\FcoeAgnt.txt when"));
}

TEST_F(Log, FolderThatTheAgentDoesNotTakeIsTheRoot) {
    hive.Set(SUITE, L"InstalledDir", L"C:\\" + std::wstring(508, L'x'));
    EXPECT_THAT(LogHint(), HasSubstr("is C:\\xxx"));
    hive.Set(SUITE, L"InstalledDir", L"C:\\" + std::wstring(509, L'x'));
    EXPECT_THAT(LogHint(), HasSubstr("is \\FcoeAgnt.txt, or "));
    hive.Delete(SUITE, L"InstalledDir");
    EXPECT_THAT(LogHint(), HasSubstr("is \\FcoeAgnt.txt, or "));
    SetEnvironmentVariableW(L"Temp", (L"C:\\" + std::wstring(257, L'x')).c_str());
    EXPECT_THAT(LogHint(), HasSubstr(", or \\FcoeAgnt.txt when "));
}

TEST_F(Log, TurnedOffIsToldAsSuch) {
    hive.Set(SUITE, L"TRACE", 0);
    EXPECT_THAT(LogHint(), HasSubstr("\"TRACE\" is 0"));
    EXPECT_THAT(LogHint(), Not(HasSubstr("FcoeAgnt.txt")));
}

TEST_F(Log, OfErrorsOnlyIsToldAsSuch) {
    Write(registered, GetCurrentProcessId());
    hive.Set(SUITE, L"TRACE", 2);
    EXPECT_THAT(LogHint(), EndsWith("FcoeAgnt.txt (errors only: \"TRACE\" is 2)."));
}

TEST_F(Log, WithoutTheKeyThereIsNone) {
    hive.DeleteKey(SUITE);
    EXPECT_THAT(LogHint(), HasSubstr("The agent writes no log"));
}

TEST_F(Log, IsNamedWhenTheAgentRefuses) {
    EXPECT_THAT(Host(L"null silent").Run({"hbas"}).err, HasSubstr("\n  The agent's log is " + File(registered)));
}
