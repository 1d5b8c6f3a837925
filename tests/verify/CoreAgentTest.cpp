// A core agent that deviates in one way: it is named, and nothing else but what follows from it.
#include <gtest/gtest.h>

#include "simulator/topology/Text.h"
#include "tests/verify/Asked.h"
#include "tests/verify/Planted.h"

namespace {

const Planted PLANTED[] = {
    {"nothing", {}},
    {"no interface", {"no_interface GetCoreAgentPvt"}},
    {"interface differs", {"other_answer GetCoreAgentPvt"}},
    {"get throws", {"exception GetCoreAgentPvt"}},
    {"slot is no code", {"wild_slot GetAdapterInfo"}},
    {"wait throws", {"exception WaitForApplyDone"}},
    {"wait is slow", {"slow WaitForApplyDone"}},
    {"list throws", {"exception EnumerateAdapters"}},
    {"list is refused", {"status EnumerateAdapters"}},
    {"list is empty", {"no_adapter EnumerateAdapters"}},
    {"adapter twice", {"same_adapter EnumerateAdapters"}},
    {"empty identifier", {"identifier EnumerateAdapters", "status GetAdapterInfo"}}, // no adapter has it
    {"list changes", {"other_answer EnumerateAdapters"}},
    {"list is not for two threads", {"threads EnumerateAdapters"}},
    {"text without end", {"broken_text EnumerateAdapters"}},
    {"list of another heap", {"foreign_memory EnumerateAdapters"}},
    {"detail with success", {"detail EnumerateAdapters"}},
    {"info throws", {"exception GetAdapterInfo"}},
    {"info is refused", {"status GetAdapterInfo"}},
    {"info of another", {"other_adapter GetAdapterInfo"}},
    {"no display name", {"no_display_name GetAdapterInfo"}},
    {"text of another heap", {"foreign_memory GetAdapterInfo"}},
    {"unknown is known", {"unknown_adapter GetAdapterInfo"}},
    {"support throws", {"exception SupportsFcoe"}},
    {"support changes", {"other_answer SupportsFcoe"}},
    {"no FCoE", {"no_adapter SupportsFcoe"}},

    {"wait hangs", {"hang WaitForApplyDone"}, true, true},
    {"list crashes", {"crash EnumerateAdapters"}, true},
    {"support ends the process", {"ends_process SupportsFcoe"}, true},
};

class DeviatingCoreAgent : public testing::TestWithParam<Planted> {
  protected:
    const Variable m_deviation{L"VERIFY_DEVIATION", sim::Wide(GetParam().deviation)};
};

} // namespace

TEST_P(DeviatingCoreAgent, IsNamed) {
    if (!GetParam().ends) {
        constexpr unsigned SLOW_MS = 30; // twice as long is slow, see the module
        const bool slow = std::string_view(GetParam().deviation) == "wait is slow";
        const auto asked =
            AskInProcess(verify::Neighbour::CoreAgent, L"DeviatingCoreAgent.dll", {}, slow ? SLOW_MS : 5000);
        EXPECT_EQ(GetParam().told, asked.All());
        return;
    }
    const auto printed = RunSimctl({"verify", "--json", "--limit", GetParam().hangs ? "4" : "30", "--core-agent",
                                    ProgramFile(L"DeviatingCoreAgent.dll")});
    EXPECT_EQ(1, printed.code) << printed.err;
    EXPECT_EQ(GetParam().told, DeviationsOf(printed)) << printed.out;
}

INSTANTIATE_TEST_SUITE_P(Planted, DeviatingCoreAgent, testing::ValuesIn(PLANTED), NameOf);
