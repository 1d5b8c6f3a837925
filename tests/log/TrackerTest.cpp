#include "tools/log/Tracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/log/WrittenLog.h"
#include "tools/log/CallTree.h"
#include "tools/log/SlowCalls.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char LUNS[] = "CQelFcoeAgentWin::EnumerateLUNs";
constexpr char GET_HBA_OBJECT[] = "CQelFcoeAgentWin::GetHBAObject";
constexpr char GET_TARGET_LIST[] = "CHBAAPIInt::GetTargetList";
constexpr char CAPACITY[] = "CHBAAPIInt::RetrieveLUNCapacityV2";

} // namespace

TEST(Requests, HaveTheirTimeResultAndAdapters) {
    WrittenLog log;
    log.Enter("CQelFcoeAgentWin::Initialize").Leave("CQelFcoeAgentWin::Initialize", "bReturn=true");
    log.Enter(LUNS).Call(GET_HBA_OBJECT, {}).Call(GET_HBA_OBJECT, {}).After(100).Leave(LUNS, "bReturn=true");
    const Told told(log);
    ASSERT_THAT(told.requests, SizeIs(2));
    EXPECT_EQ("Initialize", told.requests[0].operation);
    EXPECT_EQ(1u, told.requests[0].number);
    EXPECT_EQ(1, told.requests[0].milliseconds);
    const agentlog::Request& luns = told.requests[1];
    EXPECT_EQ("EnumerateLUNs", luns.operation);
    EXPECT_EQ(0x2cu, luns.process);
    EXPECT_EQ(3u, luns.line);
    EXPECT_EQ(2u, luns.adapters);
    EXPECT_EQ("true", luns.result);
    EXPECT_TRUE(luns.finished);
    EXPECT_EQ(105, luns.milliseconds);
    EXPECT_THAT(told.problems, IsEmpty());
}

TEST(Requests, OfSeveralThreadsAreToldApart) {
    WrittenLog log;
    log.Thread(1).Enter(LUNS);
    log.Thread(2).Enter("CQelFcoeAgentWin::EnumerateHBAs").Call(GET_HBA_OBJECT, {});
    log.Thread(1).Leave(LUNS, "bReturn=false");
    log.Thread(2).Leave("CQelFcoeAgentWin::EnumerateHBAs", "bReturn=true");
    const Told told(log);
    ASSERT_THAT(told.requests, SizeIs(2));
    EXPECT_EQ(1u, told.requests[0].thread);
    EXPECT_EQ(0u, told.requests[0].adapters);
    EXPECT_EQ("false", told.requests[0].result);
    EXPECT_EQ(1u, told.requests[1].adapters);
}

TEST(Requests, WithoutAnEndAreUnfinished) {
    WrittenLog log;
    log.Enter(LUNS).After(10).Enter(GET_TARGET_LIST).Say("CHBAAPIInt::GetTargetList Before calling GetTargetList 1");
    const Told told(log);
    ASSERT_THAT(told.requests, SizeIs(1));
    EXPECT_FALSE(told.requests[0].finished);
    EXPECT_EQ(12, told.requests[0].milliseconds);
    EXPECT_THAT(told.calls, ElementsAre("2 CHBAAPIInt::GetTargetList ?", "1 CQelFcoeAgentWin::EnumerateLUNs ?"));
}

TEST(Requests, AreReadAsFarAsACutLogGoes) {
    WrittenLog log;
    log.Leave("CQelFcoeHBA::Open").Say("rest").Leave(LUNS, "bReturn=true"); // its beginning is gone
    log.Enter(LUNS).Enter("CQelFcoeHBA::Open").Enter("CHBAAPIInt::CloseAdapHandle").Leave(LUNS, "bReturn=true");
    auto lines = log.Lines();
    lines.insert(lines.begin() + 3, "a line of another form");
    lines.back().insert(0, "FCOEAGENT\tPID:2c\tTID:30\t14:00:00.001\t(1)\tTIER 1\t\tEXIT:  CQelFc");
    const Told told(lines);
    ASSERT_THAT(told.requests, SizeIs(1));
    EXPECT_TRUE(told.requests[0].finished);
    EXPECT_EQ(8u, told.lines);
    EXPECT_EQ(2u, told.unreadable);
    EXPECT_THAT(told.calls, ElementsAre("3 CHBAAPIInt::CloseAdapHandle ?", "2 CQelFcoeHBA::Open ?",
                                        "1 CQelFcoeAgentWin::EnumerateLUNs 3"));
}

TEST(Requests, OfADamagedLogTakeNoMoreMemoryThanTheyMay) {
    WrittenLog log;
    for (int i = 0; i < 5000; ++i)
        log.Enter("CQelFcoeHBA::Open");
    for (unsigned thread = 1; thread < 6000; ++thread)
        log.Thread(thread).Enter(LUNS);
    EXPECT_THAT(Told(log).requests, SizeIs(5999));
}

TEST(TrackedProblems, NameFunctionStatusAndAdapter) {
    WrittenLog log;
    log.Enter(LUNS).Call(GET_HBA_OBJECT, {}).Call(GET_HBA_OBJECT, {});
    log.Call(
        GET_TARGET_LIST,
        {"CHBAAPIInt::GetTargetList Before calling GetTargetList 1", "CHBAAPIInt::GetTargetList failed with error - 3"},
        "bReturn=false");
    log.Say("GetTargetList() failed Inout No of targets = 1, dwNoOfTargets = 0").Leave(LUNS, "bReturn=true");
    const Told told(log);
    EXPECT_THAT(told.problems, ElementsAre("ORVAN_GetTargetList: invalid handle (status 3): The vendor library refused "
                                           "the list of targets."));
    EXPECT_THAT(told.adapters, ElementsAre(2u));
    EXPECT_THAT(told.problemLines, ElementsAre(8u));
    EXPECT_EQ(1u, told.requests[0].problems);
}

TEST(TrackedProblems, AreNotWhatSoundsLikeThem) {
    WrittenLog log;
    log.Enter(LUNS).Enter("CQelFcoeTarget::GetTargetsList_HBA");
    log.Call(GET_TARGET_LIST, {"CHBAAPIInt::GetTargetList failed with more data available"}, "bReturn=false");
    log.Say("GetTargetList() failed Inout No of targets = 2, dwNoOfTargets = 2");
    log.Call(GET_TARGET_LIST, {"CHBAAPIInt::GetTargetList Succeeded"}, "bReturn=true");
    log.Leave("CQelFcoeTarget::GetTargetsList_HBA", "bReturn=true");
    log.Call(CAPACITY, {"RetrieveLUNCapacityV2 failed - Status=9", "RetrieveLUNCapacityV2 Succeeded"});
    log.Leave(LUNS, "bReturn=true");
    EXPECT_THAT(Told(log).problems, IsEmpty());
}

TEST(TrackedProblems, OfARepetitionAreItsLast) {
    WrittenLog log;
    log.Enter(LUNS).Call(CAPACITY,
                         {"RetrieveLUNCapacityV2 failed - Status=9", "RetrieveLUNCapacityV2 failed - Status=2"});
    log.Leave(LUNS, "bReturn=true");
    const Told told(log);
    EXPECT_THAT(told.problems, ElementsAre(HasSubstr("ScsiReadCapacityV2: not supported (status 2): ")));
    EXPECT_THAT(told.problemLines, ElementsAre(4u));
}

TEST(TrackedProblems, AreSeenInWhatIsNotWritten) {
    WrittenLog log;
    log.Enter(LUNS).Call(CAPACITY, {}).Call("CQelFcoeLUN::Get", {}, "bReturn=true");
    log.Call("CHBAAPIInt::GetPortsCount", {}, "nReturn=0");
    log.Call("CDCX_ServiceInterface::GetDCB_FcoeLinkStatus", {}, "res.ulErrCode=0");
    log.Leave(LUNS, "bReturn=true");
    EXPECT_THAT(Told(log).problems, ElementsAre(HasSubstr("ScsiReadCapacityV2: : The vendor library was not asked"),
                                                HasSubstr("ORVAN_GetFCPortList: : The vendor library refused the list"),
                                                HasSubstr("get_dcb_config: : The DCB service did not tell")));
}

TEST(TrackedProblems, OfAnExceptionNameTheCallThatItCameFrom) {
    WrittenLog log;
    log.Enter(LUNS).Enter("CQelFcoeHBA::GetLUNs").Enter(GET_TARGET_LIST);
    log.Say("CHBAAPIInt::GetTargetList Before calling GetTargetList 1");
    log.Leave(GET_TARGET_LIST, "bReturn=false").Leave("CQelFcoeHBA::GetLUNs", "bReturn=false");
    log.Say("agent\\Enumerate (46): CQelFcoeAgentWin::EnumerateLUNs() - Exception caught");
    log.Say("Unable to get the fabrics for {1}").Leave(LUNS, "bReturn=false");
    EXPECT_THAT(Told(log).problems,
                ElementsAre("ORVAN_GetTargetList: : A neighbour threw an exception, which ended the operation.",
                            HasSubstr(": : That adapter failed")));
}

TEST(TrackedProblems, OfAListThatGrowsAreSeenAtItsSecondReading) {
    WrittenLog log;
    log.Enter(LUNS).Enter("CQelFcoeTarget::GetTargetsList_HBA");
    for (int i = 0; i < 2; ++i) {
        log.Call(GET_TARGET_LIST, {"CHBAAPIInt::GetTargetList failed with more data available"}, "bReturn=false");
        log.Say("GetTargetList() failed Inout No of targets = 2, dwNoOfTargets = 2");
    }
    log.Leave("CQelFcoeTarget::GetTargetsList_HBA", "bReturn=true").Leave(LUNS, "bReturn=true");
    EXPECT_THAT(Told(log).problems, ElementsAre(HasSubstr("ORVAN_GetTargetList: : The list grew")));
}

TEST(TrackedProblems, OfAStartTellWhatIsMissing) {
    const std::string start = "CQelFcoeAgentWin::Initialize";
    WrittenLog registry;
    registry.Enter(start).Leave(start, "bReturn=false");
    EXPECT_THAT(Told(registry).problems, ElementsAre(HasSubstr("the registry names another file")));
    WrittenLog core;
    core.Enter(start).Call("CQelNetAgentPvt::GetCoreAgntPvt", {}).Leave(start, "bReturn=false");
    EXPECT_THAT(Told(core).problems, ElementsAre(HasSubstr("there is no core agent")));
}

TEST(TrackedProblems, OfAFailedRequestAreNeverNone) {
    WrittenLog log;
    log.Enter(LUNS).Leave(LUNS, "bReturn=false");
    EXPECT_THAT(Told(log).problems, ElementsAre(HasSubstr("the log does not tell why")));
}

namespace {

template <class Listener> void Read(const WrittenLog& log, Listener& listener) {
    agentlog::Tracker tracker(agentlog::CounterRate(10000), listener);
    for (const std::string& line : log.Lines())
        tracker.Take(line);
    tracker.End();
}

} // namespace

TEST(CallTree, HasTheCallsOfOneKindAsOneNodeForEachAdapter) {
    WrittenLog log;
    log.Enter("CQelFcoeAgentWin::EnumerateHBAs").Leave("CQelFcoeAgentWin::EnumerateHBAs", "bReturn=true");
    log.Enter(LUNS);
    for (int adapter = 0; adapter < 2; ++adapter) {
        log.Call(GET_HBA_OBJECT, {}).Enter("CQelFcoeHBA::GetLUNs");
        for (int i = 0; i < 3; ++i)
            log.Call(CAPACITY,
                     {i == 1 ? "RetrieveLUNCapacityV2 failed - Status=10" : "RetrieveLUNCapacityV2 Succeeded"});
        log.Leave("CQelFcoeHBA::GetLUNs", "bReturn=true");
    }
    log.Leave(LUNS, "bReturn=true");
    agentlog::CallTree tree(2);
    Read(log, tree);
    ASSERT_TRUE(tree.Found());
    const auto& nodes = tree.Nodes();
    ASSERT_THAT(nodes, SizeIs(9));
    EXPECT_EQ(LUNS, nodes[0].operation);
    EXPECT_EQ(1u, nodes[0].calls);
    EXPECT_THAT(nodes[0].children, ElementsAre(1u, 5u));
    EXPECT_EQ("adapter 2", nodes[5].operation);
    EXPECT_EQ(11, nodes[5].milliseconds) << "one for the object, ten for the LUNs";
    EXPECT_EQ(CAPACITY, nodes[8].operation);
    EXPECT_EQ(3u, nodes[8].calls);
    EXPECT_EQ(6, nodes[8].milliseconds);
    EXPECT_EQ(2, nodes[8].longest);
    ASSERT_THAT(nodes[8].answers, SizeIs(2));
    EXPECT_EQ(2u, nodes[8].answers.at("RetrieveLUNCapacityV2 Succeeded").count);
    EXPECT_EQ(10u, nodes[8].answers.at("RetrieveLUNCapacityV2 failed - Status=10").number);
    agentlog::CallTree none(3);
    Read(log, none);
    EXPECT_FALSE(none.Found());
}

TEST(SlowCalls, CountAnOperationsOwnTime) {
    WrittenLog log;
    log.Enter(LUNS).Enter(GET_TARGET_LIST).After(50).Leave(GET_TARGET_LIST, "bReturn=true");
    log.Enter(GET_TARGET_LIST).After(10).Leave(GET_TARGET_LIST, "bReturn=true").Leave(LUNS, "bReturn=true");
    agentlog::SlowCalls slow;
    Read(log, slow);
    const auto kinds = slow.Slowest(10);
    ASSERT_THAT(kinds, SizeIs(2));
    EXPECT_EQ(GET_TARGET_LIST, kinds[0].operation);
    EXPECT_EQ(2u, kinds[0].calls);
    EXPECT_EQ(62, kinds[0].own);
    EXPECT_EQ(51, kinds[0].longest);
    EXPECT_EQ(1u, kinds[0].request);
    EXPECT_EQ(3, kinds[1].own);
    EXPECT_THAT(slow.Slowest(1), SizeIs(1));
}
