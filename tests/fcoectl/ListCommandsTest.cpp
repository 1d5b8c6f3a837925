// The commands that read, against the scripted agent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr char FIRST[] = "{0B6C7E1A-5D24-4F8B-9C11-000000000001}";
constexpr char SECOND[] = "{0B6C7E1A-5D24-4F8B-9C11-000000000002}";

struct List {
    const char* command;
    const char* member; // of the document
    const wchar_t* script;
    std::size_t records; // with two adapters
};

const List LISTS[] = {
    {"hbas", "hbas", L"hbas", 2},
    {"fabrics", "fabrics", L"fabrics", 3},
    {"ports", "ports", L"ports", 3},
    {"targets", "targets", L"targets", 3},
    {"luns", "luns", L"luns", 5},
    {"vlans", "vlans", L"vlans", 4},
    {"stats", "statistics", L"statistics", 30},
};

} // namespace

class Lists : public testing::TestWithParam<List> {};

INSTANTIATE_TEST_SUITE_P(All, Lists, testing::ValuesIn(LISTS),
                         [](const auto& info) { return std::string(info.param.command); });

TEST_P(Lists, TableHasOneLineARecord) {
    const Answer answer = Host(L"two").Run({GetParam().command});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ("", answer.err);
    EXPECT_EQ(GetParam().records + 2, std::count(answer.out.begin(), answer.out.end(), '\n'));
}

TEST_P(Lists, JsonIsOneDocumentWithAllRecords) {
    const Answer answer = Host(L"two").Run({GetParam().command, "--json"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ("", answer.err);
    const auto document = answer.Json();
    EXPECT_EQ(std::string("fcoectl/") + GetParam().command, document["schema"].get<std::string>());
    EXPECT_EQ(1, document["version"]);
    EXPECT_EQ(true, document["complete"]);
    EXPECT_EQ(GetParam().records, document[GetParam().member].size());
    EXPECT_FALSE(document.contains("error"));
}

TEST_P(Lists, OneAdapterOnlyGivesItsOwn) {
    const auto document = Host(L"two").Run({GetParam().command, "--json", "--adapter", SECOND}).Json();
    ASSERT_FALSE(document[GetParam().member].empty());
    for (const auto& record : document[GetParam().member])
        EXPECT_EQ(SECOND, record["device_id"]);
}

TEST_P(Lists, PartialAnswerIsPrintedAndHasItsOwnExitCode) {
    const Answer answer = Host(L"two false:" + std::wstring(GetParam().script)).Run({GetParam().command});
    EXPECT_EQ(1, answer.exit);
    EXPECT_EQ(3, std::count(answer.out.begin(), answer.out.end(), '\n')) << "header, dashes, the one record";
    EXPECT_THAT(answer.err, HasSubstr("\nfcoectl: The agent could not read everything"));
    EXPECT_THAT(answer.err, HasSubstr("log"));
}

TEST_P(Lists, PartialAnswerInJsonIsIncompleteWithItsRecords) {
    const Answer answer = Host(L"two false:" + std::wstring(GetParam().script)).Run({GetParam().command, "--json"});
    EXPECT_EQ(1, answer.exit);
    EXPECT_EQ("", answer.err);
    const auto document = answer.Json();
    EXPECT_EQ(false, document["complete"]);
    EXPECT_EQ(1u, document[GetParam().member].size());
    EXPECT_EQ(1, document["error"]["code"]);
    EXPECT_EQ("partial", document["error"]["name"]);
}

TEST_P(Lists, NothingFoundIsCompleteAndSaysSo) {
    const Answer answer = Host(L"empty:" + std::wstring(GetParam().script)).Run({GetParam().command});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(2, std::count(answer.out.begin(), answer.out.end(), '\n'));
    EXPECT_THAT(answer.err, HasSubstr("fcoectl: "));
}

TEST_P(Lists, ExhaustedMemoryInTheAgentIsReported) {
    const Answer answer = Host(L"memory:" + std::wstring(GetParam().script)).Run({GetParam().command, "--json"});
    EXPECT_EQ(6, answer.exit);
    const auto document = answer.Json();
    EXPECT_EQ(false, document["complete"]);
    EXPECT_TRUE(document[GetParam().member].is_array()) << "the list is there on failure, too";
    EXPECT_EQ("agent_threw", document["error"]["name"]);
}

TEST_P(Lists, UnknownExceptionOfTheAgentIsReported) {
    const Answer answer = Host(L"odd:" + std::wstring(GetParam().script)).Run({GetParam().command});
    EXPECT_EQ(6, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: The agent ended the call with an unknown exception.\n  Free memory"));
    EXPECT_THAT(answer.err, HasSubstr("\n  The agent"));
}

TEST_P(Lists, LongFormShowsEveryField) {
    const Answer answer = Host().Run({GetParam().command, "--long"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.out, HasSubstr("DEVICE ID"));
    EXPECT_THAT(answer.out, HasSubstr(FIRST));
}

TEST(Adapter, WithoutOneTheAgentIsAskedForAllAtOnce) {
    Host host(L"two");
    host.Run({"luns"});
    EXPECT_EQ((std::vector<std::string>{"GetFcoeAgent", "Enumerate luns ", "Uninstall"}), host.Calls());
}

TEST(Hbas, AdapterThatCouldNotBeReadIsAProblem) {
    const Answer answer = Host(L"two unread").Run({"hbas"});
    EXPECT_EQ(1, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: Adapter number 1: the adapter could not be read: "));
    const auto document = Host(L"two unread").Run({"hbas", "--json"}).Json();
    EXPECT_EQ(false, document["complete"]);
    ASSERT_EQ(1u, document["problems"].size());
    EXPECT_EQ("adapter", document["problems"][0]["what"]);
    EXPECT_EQ("partial", document["error"]["name"]);
}

TEST(Hbas, NoAdapterSaysWhyInOneLine) {
    EXPECT_EQ("fcoectl: There is no core agent in this process, so the agent knows no adapter.\n",
              Host(L"none").Run({"hbas"}).err);
}

TEST(Problems, AreThereOfCompleteAnswersToo) {
    for (const char* command : {"hbas", "tree", "stats", "dcb", "vlans"}) {
        const auto document = Host(L"two").Run({command, "--json"}).Json();
        EXPECT_EQ(nlohmann::ordered_json::array(), document["problems"]) << command;
        EXPECT_FALSE(document.contains("notes")) << command;
    }
    EXPECT_FALSE(Host().Run({"wwpn", "--json"}).Json().contains("problems")) << "which reads nothing";
}

TEST(Problems, AFailedCallInTheLogIsOne) {
    const Answer answer =
        Host(L"two failed:CHBAAPIInt::GetTargetList_failed_with_error_-_3").Run({"targets", "--json"});
    EXPECT_EQ(1, answer.exit);
    const auto document = answer.Json();
    EXPECT_EQ(3u, document["targets"].size()) << "what could be read";
    ASSERT_EQ(1u, document["problems"].size());
    const auto& problem = document["problems"][0];
    EXPECT_EQ(FIRST, problem["adapter"]);
    EXPECT_EQ("targets", problem["what"]);
    EXPECT_EQ("ORVAN_GetTargetList", problem["function"]);
    EXPECT_EQ(3, problem["status"]);
    EXPECT_THAT(problem["text"].get<std::string>(), HasSubstr("invalid handle"));
    EXPECT_NE("", problem["advice"].get<std::string>());
}

TEST(Problems, AreToldOfEachReadingOfTheCountersOnce) {
    const Answer answer = Host(L"failed:CHBAAPIInt::GetTargetList_failed_with_error_-_3")
                              .Run({"stats", "--watch", "0.1", "--count", "2", "--json"});
    EXPECT_EQ(0, answer.exit) << "counters need no targets";
    const Answer lost = Host(L"false:statistics").Run({"stats", "--watch", "0.1", "--count", "2", "--json"});
    EXPECT_EQ(1, lost.exit);
    EXPECT_EQ(1u, lost.Json()["problems"].size());
}

TEST(Problems, TolerantMakesThemNoFailure) {
    const Answer answer = Host(L"false:targets").Run({"targets", "--tolerant"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("could not be read"));
    const auto document = Host(L"false:targets").Run({"targets", "--tolerant", "--json"}).Json();
    EXPECT_EQ(false, document["complete"]);
    EXPECT_EQ(1u, document["problems"].size());
    EXPECT_FALSE(document.contains("error"));
    EXPECT_EQ(2, Host().Run({"wwpn", "--tolerant"}).exit);
    EXPECT_EQ(6, Host(L"memory:targets").Run({"targets", "--tolerant"}).exit) << "an answer there must be";
}

TEST(Problems, WithoutALogItIsSaidThatFailuresCannotBeSeen) {
    const auto document = Host(L"two silent").Run({"targets", "--json"}).Json();
    EXPECT_EQ(true, document["complete"]);
    ASSERT_EQ(1u, document["notes"].size());
    EXPECT_THAT(document["notes"][0].get<std::string>(), StartsWith("Calls that failed cannot be seen, because "));
}

TEST(TreeCommand, DrawsAndNests) {
    Host host(L"two");
    EXPECT_THAT(host.Run({"tree"}).out, HasSubstr("└─ "));
    EXPECT_THAT(host.Run({"tree", "--ascii"}).out, Not(HasSubstr("└─ ")));
    const auto document = host.Run({"tree", "--json"}).Json();
    EXPECT_EQ("fcoectl/tree", document["schema"]);
    EXPECT_EQ(2u, document["adapters"].size());
}

TEST(TreeCommand, TellsWhichListIsNotComplete) {
    const Answer answer = Host(L"false:targets").Run({"tree"});
    EXPECT_EQ(1, answer.exit);
    EXPECT_THAT(answer.out, HasSubstr("Fabric 1"));
    EXPECT_THAT(answer.err, HasSubstr("\nfcoectl: The targets are not complete.\n"));
}

TEST(DcbCommand, ExplainsEachLink) {
    const auto links = Host(L"two").Run({"dcb", "--json"}).Json()["links"];
    ASSERT_EQ(2u, links.size());
    EXPECT_EQ("usable", links[0]["state"]);
    EXPECT_EQ("pfc_mismatch", links[1]["state"]);
    EXPECT_THAT(Host(L"two").Run({"dcb"}).out, HasSubstr("Enable priority flow control"));
}

TEST(StatsWatch, ShowsRatesFromTheSecondReadingOn) {
    const Answer answer = Host(L"grow").Run({"stats", "--watch", "0.1", "--count", "2", "--json"});
    EXPECT_EQ(0, answer.exit);
    const auto samples = answer.Json()["samples"];
    ASSERT_EQ(2u, samples.size());
    EXPECT_TRUE(samples[0]["statistics"][0]["per_second"].is_null());
    const double rate = samples[1]["statistics"][0]["per_second"];
    const double seconds = samples[1]["seconds"];
    EXPECT_NEAR(1000, rate * seconds, 1) << "each counter grew by 1000";
    EXPECT_FALSE(answer.Json().contains("statistics"));
}

TEST(StatsWatch, PrintsATableForEachReading) {
    const Answer answer = Host(L"grow").Run({"stats", "--watch=0.1", "--count", "2"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.out, StartsWith("After 0.0 s\nADAPTER"));
    EXPECT_THAT(answer.out, HasSubstr("PER SECOND"));
    EXPECT_THAT(answer.out, HasSubstr("\n\nAfter 0.")) << "a tenth of a second, or what a busy machine takes";
}

TEST(VportList, LeavesPhysicalPortsOut) {
    const auto document = Host(L"two").Run({"vport", "list", "--json"}).Json();
    EXPECT_EQ("fcoectl/vport-list", document["schema"]);
    ASSERT_EQ(1u, document["ports"].size());
    EXPECT_EQ(2, document["ports"][0]["port_type"]);
}
