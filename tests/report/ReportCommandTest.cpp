// `fcoectl report` on the simulated suite.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/report/SuiteReport.h"
#include "tools/fcoectl/Text.h"

using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

namespace {

// The data inside the page.
Json DataOf(const std::string& page) {
    const std::string_view begin = "<script type=\"application/json\" id=\"data\">";
    const auto at = page.find(begin);
    if (at == std::string::npos)
        return Json::value_t::discarded;
    const auto from = at + begin.size();
    return Json::parse(page.substr(from, page.find("</script>", from) - from), nullptr, false);
}

class ReportCommand : public testing::Test {
  protected:
    // The page that the command writes.
    std::string Page(int exit, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"report", suite.File("page.html")});
        const Answer answer = suite.Run(options);
        EXPECT_EQ(exit, answer.exit) << answer.err;
        return suite.Text("page.html");
    }

    SuiteReport suite;
};

} // namespace

TEST_F(ReportCommand, HasEverythingThatTheCommandsTell) {
    suite.Run({"luns"}); // whose log is the one from before
    const Json data = DataOf(Page(0));
    EXPECT_EQ(true, data["complete"]);
    EXPECT_EQ(suite.Run({"tree", "--json"}).Json()["adapters"], data["tree"]["adapters"]);
    EXPECT_EQ(suite.Run({"dcb", "--json"}).Json()["links"], data["links"]["links"]);
    EXPECT_EQ(suite.Run({"vlans", "--json"}).Json()["vlans"], data["vlans"]["vlans"]);
    EXPECT_EQ(30u, data["statistics"]["statistics"].size());
    EXPECT_EQ(suite.Run({"version", "--json"}).Json(), data["versions"]);
    EXPECT_LT(10u, data["doctor"]["checks"].size());
    ASSERT_LE(2u, data["requests"]["requests"].size());
    EXPECT_GE(data["requests"]["requests"][0]["milliseconds"], data["requests"]["requests"][1]["milliseconds"]);
}

TEST_F(ReportCommand, SaysWhereItIs) {
    const Answer answer = suite.Run({"report", suite.File("page.html"), "--json"});
    EXPECT_EQ(suite.File("page.html"), answer.Json()["output"]);
    EXPECT_EQ(std::vector<std::string>{"page.html"}, suite.Files());
}

TEST_F(ReportCommand, OfOneAdapter) {
    const Json data = DataOf(Page(0, {"--adapter", "2"}));
    ASSERT_EQ(1u, data["tree"]["adapters"].size());
    EXPECT_EQ("Vault & Sons 2", data["tree"]["adapters"][0]["second_id"]);
}

TEST_F(ReportCommand, WhatWasNotReadIsInThePageAndInTheExitCode) {
    suite.Break();
    const std::string page = Page(1);
    EXPECT_THAT(page, HasSubstr("ORVAN_GetTargetList"));
    EXPECT_EQ(false, DataOf(page)["complete"]);
    EXPECT_EQ(false, DataOf(Page(0, {"--tolerant"}))["complete"]);
}

TEST_F(ReportCommand, WithoutAnAgentThePageHasWhatTheDoctorFinds) {
    const std::string page = Page(3, {"--agent", "no such file.dll"});
    const Json data = DataOf(page);
    EXPECT_TRUE(data["tree"].is_null());
    EXPECT_LT(0, data["doctor"]["failures"]);
    EXPECT_EQ(false, data["complete"]);
    EXPECT_THAT(page, Not(HasSubstr("Everything was read.")));
    EXPECT_THAT(page, HasSubstr("<b class=\"bad\">1</b>problem<"));
    EXPECT_THAT(data["refusal"].get<std::string>(), HasSubstr("no such file.dll"));
}

TEST_F(ReportCommand, AgentThatHangsLeavesNoFile) {
    Host host(L"hang:vlans");
    const Answer answer = host.RunProgram(L"report --timeout 2 \"" + fcoectl::FromUtf8(suite.File("page.html")) +
                                          L"\" --agent \"" + host.FakeAgent() + L"\"");
    EXPECT_EQ(8, answer.exit) << answer.err;
    EXPECT_EQ(std::vector<std::string>{}, suite.Files());
}

TEST_F(ReportCommand, FileThatCannotBeWrittenIsAFailureAndLeavesNothing) {
    EXPECT_EQ(7, suite.Run({"report", suite.File("no folder") + "\\page.html"}).exit);
    EXPECT_EQ(std::vector<std::string>{}, suite.Files());
    EXPECT_EQ(2, suite.Run({"report"}).exit);
}

TEST_F(ReportCommand, MaskedThePageHasNoNameAndSaysSo) {
    suite.Break();
    const std::string page = Page(1, {"--mask"});
    for (const std::string& secret : SECRETS)
        EXPECT_THAT(page, Not(HasSubstr(secret)));
    EXPECT_EQ(true, DataOf(page)["masked"]);
    EXPECT_EQ(suite.Run({"tree", "--mask", "--json", "--tolerant"}).Json()["adapters"],
              DataOf(page)["tree"]["adapters"]);
}
