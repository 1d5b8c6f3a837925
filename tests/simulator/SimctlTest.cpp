// simctl.exe as a user runs it.
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TestData.h"

namespace {

struct Outcome {
    DWORD code = 99;
    std::string output; // both streams
};

Outcome RunSimctl(const std::wstring& arguments) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE read = nullptr, write = nullptr;
    EXPECT_TRUE(CreatePipe(&read, &write, &inherit, 0));
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = start.hStdError = write;
    PROCESS_INFORMATION process{};
    const std::wstring line = L"\"" + (ProgramFolder() / L"simctl.exe").wstring() + L"\" " + arguments;
    EXPECT_TRUE(StartProcess(line, true, start, process));
    CloseHandle(write);
    Outcome outcome;
    char block[4096];
    for (DWORD size = 0; ReadFile(read, block, sizeof block, &size, nullptr) && size > 0;)
        outcome.output.append(block, size);
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &outcome.code);
    CloseHandle(read);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return outcome;
}

std::wstring Data(const char* name) {
    return (TestData() / "topologies" / name).wstring();
}

} // namespace

TEST(Simctl, AcceptsAGoodTopology) {
    const auto outcome = RunSimctl(L"check \"" + Data("one-lun.json") + L"\"");
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ("good: 1 adapters, 1 logical units, 0 faults\n", outcome.output);
}

TEST(Simctl, SaysWhatIsWrongAndFails) {
    const auto file = Data("bad/unknown-key.json");
    const auto outcome = RunSimctl(L"check \"" + file + L"\"");
    EXPECT_EQ(1u, outcome.code);
    EXPECT_EQ(sim::Utf8(file) + ":2:18: /: unknown key \"fault\"; did you mean \"faults\"?\n", outcome.output);
}

TEST(Simctl, PrintsTheBuiltInTopology) {
    const auto outcome = RunSimctl(L"default");
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ(sim::DefaultTopologyText(), outcome.output);
}

TEST(Simctl, ListsTheFunctions) {
    const auto outcome = RunSimctl(L"functions");
    EXPECT_EQ(0u, outcome.code);
    EXPECT_NE(std::string::npos, outcome.output.find("ORVAN_CreateVPort\n"));
}
