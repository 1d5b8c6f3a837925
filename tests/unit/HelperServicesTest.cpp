// The service operations of CHelper.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Src/Helper.h"
#include "tests/kit/LogCapture.h"
#include "tests/unit/FakeServiceManager.h"

namespace {

const wchar_t* const NAMES[] = {L"OrvanDCB", L"OFCoEDCB", L"MSiSCSI"};
const char* const NARROW_NAMES[] = {"OrvanDCB", "OFCoEDCB", "MSiSCSI"};

TEST(ServiceProbe, KnowsTheThreeServicesByIndex) {
    for (ULONG index = 0; index < 3; ++index) {
        FakeServiceManager manager;
        for (const wchar_t* name : NAMES)
            manager[name].state = SERVICE_STOPPED;
        manager[NAMES[index]].state = SERVICE_RUNNING;
        EXPECT_TRUE(CHelper().IsServiceRunning(index));
        EXPECT_EQ(1, manager.Count(std::string("open ") + NARROW_NAMES[index]));
    }
}

TEST(ServiceProbe, OnlyRunningCounts) {
    for (DWORD state = SERVICE_STOPPED; state <= SERVICE_PAUSED; ++state) {
        FakeServiceManager manager;
        manager[L"OrvanDCB"].state = state;
        EXPECT_EQ(state == SERVICE_RUNNING, CHelper().IsServiceRunning(0) != FALSE) << "state " << state;
    }
}

TEST(ServiceProbe, AsksForReadAccessOnly) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"];
    CHelper().IsServiceRunning(0);
    EXPECT_EQ(std::vector<DWORD>{GENERIC_READ}, manager.managerAccess);
    EXPECT_EQ(std::vector<DWORD>{GENERIC_READ}, manager.serviceAccess);
}

TEST(ServiceProbe, IsFalseWhenManagerServiceOrQueryRefuses) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager.managerError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(CHelper().IsServiceRunning(0));
    manager.managerError = 0;
    manager[L"OrvanDCB"].openError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(CHelper().IsServiceRunning(0));
    manager[L"OrvanDCB"].openError = 0;
    manager[L"OrvanDCB"].queryError = ERROR_INVALID_HANDLE;
    EXPECT_FALSE(CHelper().IsServiceRunning(0));
    manager[L"OrvanDCB"].queryError = 0;
    EXPECT_TRUE(CHelper().IsServiceRunning(0));
}

TEST(ServiceProbe, AnUnknownIndexTouchesNothing) {
    FakeServiceManager manager;
    EXPECT_FALSE(CHelper().IsServiceRunning(3));
    EXPECT_FALSE(CHelper().IsServiceRunning(0xFFFFFFFF));
    EXPECT_TRUE(manager.managerAccess.empty());
}

TEST(ServiceProbe, TracesItsResult) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    LogCapture log;
    CHelper().IsServiceRunning(0);
    EXPECT_EQ((std::vector<std::string>{"ENTRY:  CHelper::IsServiceRunning",
                                        "EXIT:  CHelper::IsServiceRunning, bReturn=true"}),
              log.Lines());
}

TEST(ServiceStart, ReturnsAtTheFirstProbeThatFindsTheServiceRunning) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].changes[3] = SERVICE_RUNNING;
    EXPECT_TRUE(CHelper().QelStartService(0));
    EXPECT_EQ(3, manager.sleeps);
    EXPECT_EQ((std::vector<std::string>{"open OrvanDCB", "start OrvanDCB", "sleep", "open OrvanDCB", "query OrvanDCB",
                                        "sleep", "open OrvanDCB", "query OrvanDCB", "sleep", "open OrvanDCB",
                                        "query OrvanDCB"}),
              manager.Calls());
}

TEST(ServiceStart, GivesUpAfter51PassesOf500Milliseconds) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].changes[52] = SERVICE_RUNNING;
    EXPECT_FALSE(CHelper().QelStartService(0));
    EXPECT_EQ(std::vector<DWORD>(51, 500), manager.sleepTimes);
    EXPECT_EQ(51, manager.Count("query OrvanDCB"));
}

TEST(ServiceStart, ThePass51StillCounts) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].changes[51] = SERVICE_RUNNING;
    EXPECT_TRUE(CHelper().QelStartService(0));
    EXPECT_EQ(51, manager.sleeps);
}

TEST(ServiceStart, OfService1WaitsForService0AndReturnsAfterOneSleepWhenItRuns) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OFCoEDCB"].state = SERVICE_STOPPED;
    EXPECT_TRUE(CHelper().QelStartService(1));
    EXPECT_EQ((std::vector<std::string>{"open OFCoEDCB", "start OFCoEDCB", "sleep", "open OrvanDCB", "query OrvanDCB"}),
              manager.Calls());
    EXPECT_EQ(std::vector<DWORD>{500}, manager.sleepTimes);
}

TEST(ServiceStart, OfService1FailsWhileService0DoesNotRun) {
    FakeServiceManager manager;
    manager[L"OFCoEDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].state = SERVICE_STOPPED;
    EXPECT_FALSE(CHelper().QelStartService(1));
    EXPECT_EQ(51, manager.sleeps);
    EXPECT_EQ(0, manager.Count("query OFCoEDCB"));
}

TEST(ServiceStart, IgnoresARefusedStart) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].startFails = true;
    EXPECT_TRUE(CHelper().QelStartService(0));
    EXPECT_EQ(1, manager.Count("start OrvanDCB"));
}

TEST(ServiceStart, AsksForFullAccess) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    CHelper().QelStartService(0);
    EXPECT_EQ(static_cast<DWORD>(SC_MANAGER_ALL_ACCESS), manager.managerAccess.at(0));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_ALL_ACCESS), manager.serviceAccess.at(0));
}

TEST(ServiceStart, FailsAtOnceWithoutManagerOrService) {
    FakeServiceManager manager;
    manager.managerError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(CHelper().QelStartService(0));
    manager.managerError = 0;
    EXPECT_FALSE(CHelper().QelStartService(0)); // no such service
    EXPECT_EQ(0, manager.sleeps);
    EXPECT_EQ(0, manager.Count("start OrvanDCB"));
}

TEST(ServiceStart, AndStopRefuseTheServiceThatIsOnlyProbed) {
    FakeServiceManager manager;
    manager[L"MSiSCSI"].state = SERVICE_RUNNING;
    for (const ULONG index : {2ul, 3ul}) {
        EXPECT_FALSE(CHelper().QelStartService(index));
        EXPECT_FALSE(CHelper().QelStopService(index));
    }
    EXPECT_TRUE(manager.managerAccess.empty());
}

TEST(ServiceStop, OfAStoppedServiceIsTrueWithoutAControl) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_STOPPED;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ((std::vector<std::string>{"open OrvanDCB", "query OrvanDCB"}), manager.Calls());
}

TEST(ServiceStop, SendsTheControlAndWaits) {
    FakeServiceManager manager;
    manager[L"OFCoEDCB"].state = SERVICE_RUNNING;
    manager[L"OFCoEDCB"].stopsAfter = 2;
    EXPECT_TRUE(CHelper().QelStopService(1));
    EXPECT_EQ((std::vector<std::string>{"open OFCoEDCB", "query OFCoEDCB", "stop OFCoEDCB", "sleep", "query OFCoEDCB",
                                        "sleep", "query OFCoEDCB"}),
              manager.Calls());
    EXPECT_EQ(std::vector<DWORD>(2, 500), manager.sleepTimes);
    EXPECT_EQ(std::vector<DWORD>{SC_MANAGER_ALL_ACCESS}, manager.managerAccess);
    EXPECT_EQ(std::vector<DWORD>{SERVICE_ALL_ACCESS}, manager.serviceAccess);
}

TEST(ServiceStop, GivesUpAfter51Passes) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 52;
    EXPECT_FALSE(CHelper().QelStopService(0));
    EXPECT_EQ(51, manager.sleeps);
}

TEST(ServiceStop, ThePass51StillCounts) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 51;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ(51, manager.sleeps);
}

TEST(ServiceStop, OfAStoppingServiceWaitsWithoutAControl) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_STOP_PENDING;
    manager[L"OrvanDCB"].changes[51] = SERVICE_STOPPED;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ(51, manager.sleeps);
    EXPECT_EQ(0, manager.Count("stop OrvanDCB"));
}

TEST(ServiceStop, OfAServiceThatHangsWhileStoppingControlsItAndWaitsASecondTime) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_STOP_PENDING;
    EXPECT_FALSE(CHelper().QelStopService(0));
    EXPECT_EQ(102, manager.sleeps);
    EXPECT_EQ(1, manager.Count("stop OrvanDCB"));
    const auto& calls = manager.Calls();
    EXPECT_EQ(51, std::count(calls.begin(), std::find(calls.begin(), calls.end(), "stop OrvanDCB"), "sleep"));
}

TEST(ServiceStop, LeavesTheFirstWaitWhenTheServiceRunsAgain) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_STOP_PENDING;
    manager[L"OrvanDCB"].changes[2] = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 1;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ(3, manager.sleeps);
    EXPECT_EQ(1, manager.Count("stop OrvanDCB"));
}

TEST(ServiceStop, LogsARefusedControlAndWaitsAllTheSame) {
    FakeServiceManager manager;
    LogCapture log;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].controlError = ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    manager[L"OrvanDCB"].changes[4] = SERVICE_STOPPED;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ(4, manager.sleeps);
    EXPECT_EQ(std::vector<std::string>{"ControlService stop failed - 1061"}, log.Messages());
}

TEST(ServiceStop, SurvivesQueriesThatFailMeanwhile) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 1;
    manager[L"OrvanDCB"].refusedQueries[1] = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(CHelper().QelStopService(0));
    EXPECT_EQ(2, manager.sleeps);
}

TEST(ServiceStop, FailsAtOnceWithoutManagerServiceOrState) {
    FakeServiceManager manager;
    manager.managerError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(CHelper().QelStopService(0));
    manager.managerError = 0;
    EXPECT_FALSE(CHelper().QelStopService(0)); // no such service
    manager[L"OrvanDCB"].queryError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(CHelper().QelStopService(0));
    EXPECT_EQ(0, manager.sleeps);
    EXPECT_EQ(0, manager.Count("stop OrvanDCB"));
}

TEST(ServiceStartAndStop, TraceTheirResults) {
    FakeServiceManager manager;
    manager[L"OrvanDCB"].state = SERVICE_RUNNING;
    manager[L"OrvanDCB"].stopsAfter = 1;
    LogCapture log;
    CHelper().QelStartService(0);
    CHelper().QelStopService(0);
    EXPECT_TRUE(log.Has("EXIT:  CHelper::QelStartService, bReturn=true"));
    EXPECT_TRUE(log.Has("EXIT:  CHelper::QelStopService, bReturn=true"));
}

} // namespace
