// The agent in processes of its own: how they end, and several at once.
#include <algorithm>
#include <deque>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/kit/CrashReport.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/SuiteHost.h"
#include "tests/system/PromiseSuite.h"

namespace {

const std::string NO_MUTEX = "CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex";

HANDLE Start(const std::wstring& mode) {
    const std::wstring command = L"\"" + (ProgramFolder() / L"exit_child.exe").wstring() + L"\" " + mode;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!StartProcess(command, true, startup, process)) {
        ADD_FAILURE() << "cannot start exit_child.exe: error " << GetLastError();
        return nullptr;
    }
    CloseHandle(process.hThread);
    return process.hProcess;
}

DWORD Finish(HANDLE process) {
    if (!process)
        return EXIT_HUNG;
    // It ends by itself after 30 s, with the stacks of its threads, unless even that hangs.
    if (WaitForSingleObject(process, 60000) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "a process hangs";
        TerminateProcess(process, EXIT_HUNG);
        WaitForSingleObject(process, 10000);
    }
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    return code;
}

// Has two hundred processes end in that way, some at a time; none may hang. moments: how many milliseconds they run
// after they have begun what they end in the middle of, up to this.
void EndManyTimes(const std::wstring& mode, int moments = 1) {
    constexpr int COUNT = 200, AT_ONCE = 4;
    StartWatchdog(280);
    std::deque<HANDLE> running;
    for (int i = 0; i < COUNT || !running.empty(); ++i) {
        if (i < COUNT)
            running.push_back(Start(mode + L" " + std::to_wstring(i % moments)));
        if (i < COUNT && running.size() < AT_ONCE)
            continue;
        ASSERT_EQ(0u, Finish(running.front())) << "process " << i - static_cast<int>(running.size()) + 1;
        running.pop_front();
    }
}

TEST(ProcessExit, WithoutUnloadingComesToItsEnd) {
    EndManyTimes(L"idle");
}

TEST(ProcessExit, WhileAThreadIsInsideAnEnumerationComesToItsEnd) {
    EndManyTimes(L"enumerating", 40);
}

TEST(ProcessExit, WhileAThreadHoldsTheMutexInsideTheLibraryComesToItsEnd) {
    EndManyTimes(L"in-library");
}

// The mutex by its real name: a process that dies inside the library costs the others one call.
TEST(ProcessExit, InsideTheLibraryRefusesOneCallOfAnotherProcess) {
    PromiseSuite suite;
    MovedClock clock(1000, suite.host.Module());
    const auto countVlans = [&] {
        clock.Advance(11);
        return suite.Count(&CQelFcoeAgentIntf::EnumerateVLANs, FIRST);
    };
    // Somebody keeps it in existence, as any third process inside a call does.
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT");
    EXPECT_EQ(2u, countVlans());
    EXPECT_FALSE(suite.host.Logged(NO_MUTEX));

    EXPECT_EQ(0u, Finish(Start(L"in-library")));
    EXPECT_EQ(0u, countVlans());
    EXPECT_TRUE(suite.host.Logged(NO_MUTEX));
    EXPECT_EQ(2u, countVlans());
    EXPECT_EQ(1, std::ranges::count(suite.host.LogMessages(), NO_MUTEX));
    CloseHandle(mutex);
}

// A child whose vendor library waits for a thread of its own when an adapter is closed.
class ProcessUnload : public testing::Test {
  protected:
    ProcessUnload() : m_stopping(CreateEventW(nullptr, TRUE, FALSE, m_name.c_str())) {}
    ~ProcessUnload() override { CloseHandle(m_stopping); }

    HANDLE StartChild(const std::wstring& mode) { return Start(mode + L" " + m_name); }
    // Whether the library's thread is told to end before the time is up.
    bool IsStoppingWithin(DWORD milliseconds) { return WaitForSingleObject(m_stopping, milliseconds) == WAIT_OBJECT_0; }

  private:
    const std::wstring m_name = L"fcoe-test-stopping-" + std::to_wstring(GetCurrentProcessId());
    const HANDLE m_stopping;
};

TEST_F(ProcessUnload, AfterUninstallIsNotHeldUpByALibraryThatWaitsForItsThread) {
    EXPECT_EQ(0u, Finish(StartChild(L"uninstall")));
    EXPECT_TRUE(IsStoppingWithin(0));
}

// Why a host has to call Uninstall first.
TEST_F(ProcessUnload, WithoutUninstallHangsInALibraryThatWaitsForItsThread) {
    const HANDLE process = StartChild(L"free");
    ASSERT_TRUE(process);
    EXPECT_TRUE(IsStoppingWithin(60000));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(process, 2000));
    TerminateProcess(process, 0);
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(process, 60000));
    CloseHandle(process);
}

TEST(Processes, TwoAtOnceBothGetTheirAnswers) {
    const HANDLE first = Start(L"log"), second = Start(L"log");
    EXPECT_EQ(0u, Finish(first));
    EXPECT_EQ(0u, Finish(second));
}

TEST(Processes, ThatCreateAndDeletePortsAtOnceLoseNoneAndDoubleNone) {
    SuiteHost host;
    const auto topology = host.Folder() / L"topology.json";
    host.Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"State", topology.wstring() + L".state");
    host.Simulate(R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "00:1B:21:00:00:01",
        "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01"}}]})");
    SetEnvironmentVariableW(L"FCOE_CHILD_TOPOLOGY", topology.c_str());
    const std::wstring name = L"fcoe-test-stop-" + std::to_wstring(GetCurrentProcessId());
    const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, name.c_str());

    const HANDLE watcher = Start(L"watch " + name);
    const HANDLE first = Start(L"change 1"), second = Start(L"change 2");
    EXPECT_EQ(0u, Finish(first));
    EXPECT_EQ(0u, Finish(second));
    SetEvent(stop);
    EXPECT_EQ(0u, Finish(watcher));
    CloseHandle(stop);
    SetEnvironmentVariableW(L"FCOE_CHILD_TOPOLOGY", nullptr);

    std::vector<QEL_FCOE_PORT> ports;
    CQelString adapter(L"{11111111-2222-4333-8444-555555555501}");
    EXPECT_TRUE(host.GetAgent()->EnumeratePorts(adapter, ports, 0));
    std::set<std::wstring> left;
    for (const auto& port : ports)
        left.insert(port.strPortWWN);
    EXPECT_EQ(
        (std::set<std::wstring>{L"20:01:00:1B:21:00:00:01", L"20:65:00:1B:21:00:01:01", L"20:65:00:1B:21:00:02:01"}),
        left);
}

} // namespace
