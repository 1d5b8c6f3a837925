// What `explain` explains.
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tools/fcoectl/Codes.h"

using testing::HasSubstr;

namespace {

nlohmann::ordered_json Explained(const std::string& what) {
    return Host().RunPlain({"explain", what, "--json"}).Json()["codes"];
}

} // namespace

TEST(Explain, TakesEveryWayToWriteACode) {
    for (const char* code : {"0x370000CB", "0X370000cb", "922747083", "203"})
        EXPECT_THAT(Host().RunPlain({"explain", code}).out, HasSubstr("CODE       0x370000CB\n")) << code;
    EXPECT_EQ(0, Host().RunPlain({"explain", "5"}).exit);
}

TEST(Explain, TellsAllThatANumberMeans) {
    const auto codes = Explained("3");
    ASSERT_EQ(2u, codes.size());
    EXPECT_EQ("exit_code", codes[0]["kind"]);
    EXPECT_EQ("agent_missing", codes[0]["name"]);
    EXPECT_EQ(3, codes[0]["exit_code"]);
    EXPECT_EQ("library_status", codes[1]["kind"]);
    EXPECT_EQ("HBA_STATUS_ERROR_INVALID_HANDLE", codes[1]["name"]);
    EXPECT_THAT(codes[1]["meaning"], HasSubstr("invalid handle"));
    EXPECT_TRUE(codes[1]["exit_code"].is_null());
}

TEST(Explain, KnowsNames) {
    EXPECT_EQ(10, Explained("hba_status_error_busy")[0]["code"]);
    EXPECT_EQ(2u, Explained("wwpn_in_use").size()) << "the agent's code and the program's";
    EXPECT_EQ("link_state", Explained("dcb_off")[0]["kind"]);
}

TEST(Explain, KnowsLinkStatusesAsTheAgentWritesThem) {
    for (const char* status : {"Port not online", "port not ONLINE"}) {
        const auto codes = Explained(status);
        ASSERT_EQ(1u, codes.size()) << status;
        EXPECT_EQ("offline", codes[0]["name"]);
        EXPECT_TRUE(codes[0]["code"].is_null());
    }
}

TEST(Explain, KnowsLinesOfTheLog) {
    const std::string message = "CHBAAPIInt::InitHBAAPIMod InitializeLibrary failed - Status - 3";
    const std::string header = "FCOEAGENT\tPID:1a4\tTID:30\t14:03:27.512\t(1D3A5C02)\tTIER 3\t\t";
    for (const std::string& line : {message, header + message}) {
        const auto codes = Explained(line);
        ASSERT_EQ(1u, codes.size()) << line;
        EXPECT_EQ("log_line", codes[0]["kind"]);
        EXPECT_EQ("vendor library ORVAN_InitializeLibrary", codes[0]["name"]);
        EXPECT_EQ(3, codes[0]["code"]);
        EXPECT_THAT(codes[0]["meaning"], HasSubstr("invalid handle"));
        EXPECT_NE("", codes[0]["advice"]);
    }
    const auto left = Explained(header + "EXIT:  CQelFcoeHBA::Get, bReturn=false");
    ASSERT_EQ(1u, left.size());
    EXPECT_EQ("CQelFcoeHBA::Get", left[0]["name"]);
    EXPECT_EQ("The operation ended with false.", left[0]["meaning"]);
}

TEST(Explain, TakesAMessageWithoutQuotes) {
    std::istringstream words("explain LoadLibrary of orvanhapi.dll failed - 126");
    const Answer answer = Host().RunPlain({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.out, HasSubstr("CODE       126\nKIND       log_line\n"));
}

TEST(Explain, UnknownThingsAreRefused) {
    for (const char* what : {"99", "x", "0x", "12x", "-1", "99999999999", "no line of the log"})
        EXPECT_EQ(2, Host().RunPlain({"explain", what}).exit) << what;
}

TEST(Explain, WithoutAnythingListsThemAll) {
    const auto codes = Host().RunPlain({"explain", "--json"}).Json()["codes"];
    std::map<std::string, std::size_t> kinds;
    for (const auto& code : codes)
        ++kinds[code["kind"]];
    EXPECT_EQ(fcoectl::ExitCodes().size(), kinds["exit_code"]);
    EXPECT_EQ(reading::AgentErrors().size(), kinds["agent_error"]);
    EXPECT_EQ(30u, kinds["library_status"]);
    EXPECT_EQ(13u, kinds["link_state"]) << "eleven that the agent tells, unread, unrecognized";
    EXPECT_EQ(4u, kinds.size());
}
