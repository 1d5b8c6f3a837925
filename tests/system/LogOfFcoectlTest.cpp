// The file that fcoectl names as the log is the one that its own agent wrote.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/SuiteHost.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
#include "tools/fcoectl/Run.h"
#include "tools/fcoectl/Text.h"

using testing::HasSubstr;

namespace {

class Captured : public fcoectl::Output {
  public:
    void Write(std::string_view) override {}
    void WriteError(std::string_view text) override { err += text; }
    bool Failed() const override { return false; }

    std::string err;
};

// What a command says that points to the log.
std::string Said() {
    Captured captured;
    EXPECT_EQ(1, fcoectl::Run({"hbas"}, captured)) << "an adapter fails";
    return captured.err;
}

std::string Name(const std::filesystem::path& file) {
    return fcoectl::ToUtf8(file.wstring());
}

} // namespace

TEST(LogOfFcoectl, IsNamedWhereverTheAgentWritesIt) {
    SuiteHost host;
    host.Simulate(ReadFileBytes(TestData() / "topologies/first-adapter-fails.json"));
    EXPECT_THAT(Said(), HasSubstr("The agent's log is " + Name(host.LogFile()) + ".\n"));

    const TempFolder temporary;
    wchar_t before[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"Temp", before, MAX_PATH);
    SetEnvironmentVariableW(L"Temp", temporary.Path().c_str());
    // As another process that has the agent loaded.
    const HANDLE taken = CreateFileW(host.LogFile().c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, taken);
    const auto own = temporary.Path() / L"FcoeAgnt.txt";
    EXPECT_THAT(Said(), HasSubstr("The agent's log is " + Name(own) + ", because " + Name(host.LogFile()) +
                                  " cannot be written.\n"));
    EXPECT_THAT(ReadFileBytes(own), HasSubstr("CQelFcoeAgentWin::EnumerateHBAs"));
    CloseHandle(taken);
    SetEnvironmentVariableW(L"Temp", before);
}
