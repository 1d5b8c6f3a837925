// fcoectl.exe as a program: bytes and exit codes.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/StartProcess.h"

using testing::HasSubstr;
using testing::Not;

TEST(Program, WritesUtf8WithLineFeeds) {
    Host host;
    const Answer answer = host.RunOnFakeAgent(L"tree");
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.out, HasSubstr("\xE2\x94\x9C\xE2\x94\x80 Fabric 1  Physical\n"));
    EXPECT_THAT(answer.out, Not(HasSubstr("\r")));
}

TEST(Program, SamePrintsSameBytes) {
    Host host(L"two");
    const Answer first = host.RunOnFakeAgent(L"tree --json");
    EXPECT_EQ(first.out, host.RunOnFakeAgent(L"tree --json").out);
    EXPECT_EQ(2u, first.Json()["adapters"].size());
    EXPECT_EQ('\n', first.out.back());
}

// So that no pipe can read it in another code page.
TEST(Program, JsonIsAscii) {
    const auto isAscii = [](const std::string& text) {
        return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    };
    Host host(L"foreign");
    const Answer answer = host.RunOnFakeAgent(L"hbas --json");
    EXPECT_TRUE(isAscii(answer.out)) << answer.out;
    EXPECT_EQ("Ger\xC3\xA4t \xE2\x82\xAC \xF0\x9F\x92\xBE", answer.Json()["hbas"][0]["second_id"]);
    const Answer refused = host.RunOnFakeAgent(L"ports --json --adapter \"{\u20AC}\"");
    EXPECT_TRUE(isAscii(refused.out)) << refused.out;
    EXPECT_THAT(refused.Json()["error"]["text"], HasSubstr("{\xE2\x82\xAC}"));
}

TEST(Program, PartialAnswerEndsWithOne) {
    Host host(L"two false:ports");
    const Answer answer = host.RunOnFakeAgent(L"ports");
    EXPECT_EQ(1, answer.exit);
    EXPECT_THAT(answer.out, HasSubstr("Fabric 1"));
    EXPECT_THAT(answer.err, HasSubstr("could not read everything"));
}

TEST(Program, RefusedChangeTellsItsKindByExitCode) {
    Host host(L"refuse:205");
    EXPECT_EQ(11, host.RunOnFakeAgent(L"vport create 20:01:00:1B:21:00:00:09").exit);
}

TEST(Program, MissingAgentInJson) {
    const Answer answer = Host().RunProgram(L"hbas --json --agent C:\\nowhere.dll");
    EXPECT_EQ(3, answer.exit);
    EXPECT_EQ("", answer.err);
    EXPECT_EQ("agent_missing", answer.Json()["error"]["name"]);
}

TEST(Program, ArgumentsMayBeUnicode) {
    Host host(L"two");
    const Answer answer = host.RunOnFakeAgent(L"ports --adapter \"{\u20AC}\"");
    EXPECT_EQ(5, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("'{\xE2\x82\xAC}' is unknown"));
}

TEST(Program, WrongUsageEndsWithTwo) {
    EXPECT_EQ(2, Host().RunProgram(L"nonsense").exit);
}

TEST(Program, LostOutputIsAFailure) {
    // A standard output that can only be read stands for a full disk.
    const auto name = Beside(L"fcoectl.exe");
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, &inherit, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, startup.hStdOutput);
    const TempFolder folder;
    const auto errors = folder.Path() / L"errors.txt";
    startup.hStdError =
        CreateFileW(errors.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
    PROCESS_INFORMATION process{};
    const std::wstring line = L"\"" + name.wstring() + L"\" explain";
    const bool started = StartProcess(line, true, startup, process);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    ASSERT_TRUE(started);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.hProcess, 60000));
    DWORD exit = 0;
    GetExitCodeProcess(process.hProcess, &exit);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    EXPECT_EQ(7u, exit);
    EXPECT_THAT(ReadFileBytes(errors), HasSubstr("fcoectl: The output could not be written.\n"));
}
