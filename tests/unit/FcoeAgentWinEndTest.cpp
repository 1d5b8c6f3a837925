// The end of the agent: Uninstall and destruction.
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "Common/Src/ProcessExit.h"
#include "tests/unit/AgentFixture.h"
#include "tests/unit/FailingMemory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class FcoeAgentWinEnd : public AgentFixture {};
} // namespace

TEST_F(FcoeAgentWinEnd, UninstallForgetsTheObjectsAndFreesTheLibrary) {
    Start();
    agent->GetHBAObject(L"{A}");
    Forget();
    EXPECT_TRUE(agent->Uninstall(99));
    EXPECT_THAT(fake.calls, ElementsAre("CloseAdapter 7", "FreeLibrary"));
    EXPECT_FALSE(agent->IsInitialized());
    EXPECT_EQ(0u, agent->Objects());
    EXPECT_EQ(0, core.frees) << "the core agent stays";
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeAgentWin::Uninstall, bReturn=true"));
}

TEST_F(FcoeAgentWinEnd, UninstallAndDestructionNeedNoMemory) {
    Start();
    for (const bool destroyed : {false, true}) {
        ASSERT_TRUE(agent->Initialize());
        ASSERT_TRUE(agent->GetHBAObject(L"{A}"));
        Forget();
        fake.calls.reserve(8); // what they do is noted in the room that there is
        BOOL result = FALSE;
        {
            const FailingMemory memory;
            if (destroyed)
                agent.reset();
            else
                result = agent->Uninstall(0);
        }
        EXPECT_EQ(!destroyed, result);
        EXPECT_THAT(fake.calls, ElementsAre("CloseAdapter 7", "FreeLibrary"));
    }
}

TEST_F(FcoeAgentWinEnd, UninstallWithoutAStartIsTrue) {
    EXPECT_TRUE(agent->Uninstall(0));
    EXPECT_THAT(fake.calls, IsEmpty());
}

TEST_F(FcoeAgentWinEnd, SecondUninstallFreesNothingMore) {
    Start();
    agent->Uninstall(0);
    EXPECT_TRUE(agent->Uninstall(0));
    EXPECT_EQ(1, fake.frees);
}

TEST_F(FcoeAgentWinEnd, AfterUninstallANewObjectIsMade) {
    Start();
    const auto before = agent->GetHBAObject(L"{A}");
    agent->Uninstall(0);
    ASSERT_TRUE(agent->Initialize());
    const auto after = agent->GetHBAObject(L"{A}");
    ASSERT_TRUE(after);
    EXPECT_NE(before, after);
}

TEST_F(FcoeAgentWinEnd, StartAfterUninstallMakesANewLibraryObject) {
    Start();
    const CHBAAPIInt* const first = agent->Library();
    agent->Uninstall(0);
    EXPECT_EQ(first, agent->Library());
    ASSERT_TRUE(agent->Initialize());
    EXPECT_NE(first, agent->Library());
    EXPECT_EQ(2, fake.loads);
    EXPECT_EQ(2, core.loads);
    EXPECT_EQ(1, core.frees) << "the core agent is loaded anew";
}

TEST_F(FcoeAgentWinEnd, CoreAgentThatIsGoneAtALaterStartIsNotCalled) {
    Start();
    agent->Uninstall(0);
    core.present = false;
    Forget();
    // Its pointer stays as it was, so the start counts as done.
    EXPECT_TRUE(agent->Initialize());
    EXPECT_TRUE(agent->GetHBAObject(L"{A}"));
    std::vector<QEL_FCOE_HBA> records;
    EXPECT_TRUE(agent->EnumerateHBAs(L"", records, 0));
    EXPECT_THAT(core.calls, IsEmpty());
}

TEST_F(FcoeAgentWinEnd, ObjectThatACallerStillHoldsWorksAfterUninstallAndANewStart) {
    Start();
    const auto held = agent->GetHBAObject(L"{A}");
    agent->Uninstall(0);
    agent->Initialize();
    std::vector<QEL_FCOE_STATISTIC> statistics;
    EXPECT_TRUE(held->GetStatistics(statistics));
    EXPECT_EQ(15u, statistics.size());
}

TEST_F(FcoeAgentWinEnd, OperationsAfterUninstallLoadTheLibraryAgain) {
    Start();
    agent->Uninstall(0);
    std::vector<QEL_FCOE_STATISTIC> statistics;
    CQelString id(L"{A}");
    EXPECT_TRUE(agent->EnumerateStatistics(id, statistics, 0));
    EXPECT_EQ(15u, statistics.size());
    EXPECT_EQ(2, fake.loads);
}

TEST_F(FcoeAgentWinEnd, DestructionReleasesTheCoreAgentThenTheObjectsThenTheLibrary) {
    Start();
    agent->GetHBAObject(L"{A}");
    Forget();
    core.onFree = [this] { fake.Record("core agent freed"); };
    agent.reset();
    EXPECT_THAT(fake.calls, ElementsAre("core agent freed", "CloseAdapter 7", "FreeLibrary"));
    EXPECT_EQ(core.loads, core.frees);
}

TEST_F(FcoeAgentWinEnd, DestructionAfterUninstallFreesTheLibraryNoMore) {
    Start();
    agent->Uninstall(0);
    Forget();
    agent.reset();
    EXPECT_THAT(fake.calls, IsEmpty());
    EXPECT_EQ(1, core.frees);
}

TEST_F(FcoeAgentWinEnd, IsDestroyedWithItsModuleAndLeftAtTheEndOfTheProcess) {
    // Made before the suite's key is there, as the fixture's own.
    std::optional<CQelLeftAtProcessEnd<VisibleAgent>> unloaded(std::in_place), atProcessEnd(std::in_place);
    Register();
    for (auto* const each : {&unloaded, &atProcessEnd}) {
        (*each)->Get().Initialize();
        (*each)->Get().GetHBAObject(L"{A}");
    }
    Forget();
    unloaded.reset();
    EXPECT_THAT(fake.calls, ElementsAre("CloseAdapter 7", "FreeLibrary"));
    EXPECT_EQ(1, core.frees);
    EXPECT_EXIT(
        {
            Forget();
            MarkProcessTerminating();
            atProcessEnd.reset();
            std::_Exit(fake.calls.empty() && core.frees == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
