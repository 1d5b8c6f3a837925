#include "tools/fcoectl/Codes.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "FcoeAgent/QelResource.h"
#include "tools/reading/LinkStatus.h"

using namespace fcoectl;

TEST(Codes, ExitCodesAreDistinctAndFitOneByte) {
    std::set<int> values;
    std::set<std::string> names;
    for (const ExitCode& exit : ExitCodes()) {
        EXPECT_TRUE(values.insert(static_cast<int>(exit.value)).second) << exit.name;
        EXPECT_TRUE(names.insert(exit.name).second) << exit.name;
        EXPECT_LT(static_cast<int>(exit.value), 256);
        EXPECT_STRNE("", exit.meaning);
        EXPECT_STRNE("", exit.advice);
    }
    EXPECT_TRUE(values.contains(0));
}

TEST(Codes, EveryRefusalOfTheAgentHasItsOwnExitCode) {
    std::set<Exit> exits;
    for (const std::uint32_t number : {202u, 203u, 204u, 205u, 206u, 207u, 214u}) {
        const AgentError* error = FindAgentError(0x37000000 + number);
        ASSERT_NE(nullptr, error) << number;
        EXPECT_TRUE(exits.insert(ExitOf(error->code)).second) << number;
    }
    EXPECT_EQ(exits.size(), AgentErrors().size());
    EXPECT_EQ(nullptr, FindAgentError(0x37000000));
}

TEST(LinkStatusText, EveryTextOfTheLibraryHasAMeaning) {
    for (const UINT id :
         {IDS_QEL_LINK_UP, IDS_QEL_LINK_PORT_OFFLINE, IDS_QEL_LINK_QUERY_FAILED, IDS_QEL_LINK_REASON_1_OR_2,
          IDS_QEL_LINK_REASON_UNKNOWN, IDS_QEL_LINK_NO_USER_PRIORITY, IDS_QEL_LINK_DCB_DISABLED, IDS_QEL_LINK_REASON_5,
          IDS_QEL_LINK_REASON_6, IDS_QEL_LINK_PFC_MISMATCH, IDS_QEL_LINK_APP_DISABLED_BY_PEER,
          IDS_QEL_LINK_PFC_DISABLED_LOCALLY, IDS_QEL_LINK_APP_DISABLED_LOCALLY}) {
        CQelString text;
        ASSERT_GT(text.LoadCommonResString(id), 0) << id;
        const LinkStatus status = ExplainLinkStatus(text);
        EXPECT_STRNE("unrecognized", status.state) << id;
        EXPECT_STRNE("", status.meaning) << id;
    }
}

TEST(LinkStatusText, OnlyOneTextIsUsable) {
    CQelString text;
    text.LoadCommonResString(IDS_QEL_LINK_UP);
    EXPECT_STREQ("usable", ExplainLinkStatus(text).state);
    text.LoadCommonResString(IDS_QEL_LINK_PFC_MISMATCH);
    EXPECT_STREQ("pfc_mismatch", ExplainLinkStatus(text).state);
}

TEST(LinkStatusText, EmptyAndForeignTextsSaySo) {
    EXPECT_STREQ("unread", ExplainLinkStatus({}).state);
    EXPECT_STREQ("unrecognized", ExplainLinkStatus(L"Somewhat up").state);
}
