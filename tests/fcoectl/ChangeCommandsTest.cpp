// The commands that change something, against the scripted agent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"

using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr char FIRST[] = "{0B6C7E1A-5D24-4F8B-9C11-000000000001}";
constexpr char SECOND[] = "{0B6C7E1A-5D24-4F8B-9C11-000000000002}";
constexpr char WWPN[] = "20:01:00:1B:21:00:00:09";

} // namespace

TEST(VportCreate, WithoutANameItAsksForAGeneratedOne) {
    Host host;
    const Answer answer = host.Run({"vport", "create"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ("Created virtual port 20:02:00:1B:21:00:00:01 on ORVAN CNA Port 1 "
              "({0B6C7E1A-5D24-4F8B-9C11-000000000001})\n",
              answer.out);
    EXPECT_THAT(host.Calls(), Contains(std::string("CreateVPort ") + FIRST + " auto own"));
}

TEST(VportCreate, PassesTheNameAsTyped) {
    Host host;
    const auto document = host.Run({"vport", "create", "NoWWPN at all", "--json"}).Json();
    EXPECT_EQ("fcoectl/vport-create", document["schema"]);
    EXPECT_EQ(FIRST, document["adapter"]);
    EXPECT_EQ("NoWWPN at all", document["port_wwn"]) << "the agent judges names, not this program";
    EXPECT_THAT(host.Calls(), Contains(std::string("CreateVPort ") + FIRST + " NoWWPN at all own"));
}

TEST(VportDelete, HandsTheLockOverByValue) {
    Host host(L"two");
    const Answer answer = host.Run({"vport", "delete", WWPN, "--adapter", SECOND});
    EXPECT_EQ(0, answer.exit);
    EXPECT_THAT(answer.out, StartsWith("Deleted virtual port 20:01:00:1B:21:00:00:09 on ORVAN CNA Port 2"));
    EXPECT_THAT(host.Calls(), Contains(std::string("DeleteVPort ") + SECOND + " " + WWPN + " own"));
}

TEST(Wwpn, PrintsTheNameAlone) {
    EXPECT_EQ("20:03:00:1B:21:00:00:01\n", Host().Run({"wwpn"}).out);
    EXPECT_EQ("20:03:00:1B:21:00:00:01", Host().Run({"wwpn", "--json"}).Json()["port_wwn"]);
}

TEST(Wwpn, RefusalHasItsOwnExitCode) {
    const Answer answer = Host(L"refuse:0").Run({"wwpn"});
    EXPECT_EQ(15, answer.exit);
    EXPECT_EQ("", answer.out);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: The adapter's HBA library generated no WWPN.\n"));
}

TEST(Rescan, AsksTheAdapter) {
    Host host;
    EXPECT_EQ(0, host.Run({"rescan"}).exit);
    EXPECT_THAT(host.Calls(), Contains(std::string("RefreshTargets ") + FIRST));
    EXPECT_EQ(16, Host(L"refuse:0").Run({"rescan"}).exit);
}

struct Refusal {
    const wchar_t* script;
    int exit;
    std::uint32_t code;
    const char* name;
    const char* text;
    bool argument;
};

class Refusals : public testing::TestWithParam<Refusal> {};

INSTANTIATE_TEST_SUITE_P(
    All, Refusals,
    testing::Values(Refusal{L"refuse:202", 15, 0x370000CA, "not_generated", "could not generate a WWPN", false},
                    Refusal{L"refuse:203", 10, 0x370000CB, "invalid_wwpn",
                            "'20:01:00:1B:21:00:00:09' is not a valid WWPN: eight groups of two hexadecimal digits "
                            "separated by colons are accepted",
                            true},
                    Refusal{L"refuse:204", 12, 0x370000CC, "port_limit", "maximum number of virtual ports", false},
                    Refusal{L"refuse:205", 11, 0x370000CD, "wwpn_in_use", "already in use", false},
                    Refusal{L"refuse:206", 16, 0x370000CE, "library_refused",
                            "refused to create the virtual port '20:01:00:1B:21:00:00:09'", true},
                    Refusal{L"refuse:207", 13, 0x370000CF, "port_not_found",
                            "'20:01:00:1B:21:00:00:09' was not deleted", true},
                    Refusal{L"refuse:214", 14, 0x370000D6, "physical_port", "physical port", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_P(Refusals, AreSentencesWithCodeAndArguments) {
    for (const char* operation : {"create", "delete"}) {
        const Answer answer = Host(GetParam().script).Run({"vport", operation, WWPN});
        EXPECT_EQ(GetParam().exit, answer.exit);
        EXPECT_EQ("", answer.out);
        EXPECT_THAT(answer.err, HasSubstr(GetParam().text));
        char code[32];
        std::snprintf(code, sizeof code, "\n  error 0x%08X", GetParam().code);
        EXPECT_THAT(answer.err, HasSubstr(code));
        EXPECT_THAT(answer.err, HasSubstr(", adapter: ORVAN CNA Port 1\n"));
        EXPECT_EQ(GetParam().argument, answer.err.find(std::string(", arguments: ") + WWPN) != std::string::npos);
    }
}

TEST_P(Refusals, AreInTheDocument) {
    const Answer answer = Host(GetParam().script).Run({"vport", "create", WWPN, "--json"});
    EXPECT_EQ(GetParam().exit, answer.exit);
    EXPECT_EQ("", answer.err);
    const auto document = answer.Json();
    EXPECT_EQ(false, document["complete"]);
    const auto& error = document["error"];
    EXPECT_EQ(GetParam().code, error["code"]);
    EXPECT_EQ(GetParam().name, error["name"]);
    EXPECT_EQ(GetParam().exit, error["exit_code"]);
    EXPECT_EQ("ORVAN CNA Port 1", error["source"]);
    EXPECT_EQ(GetParam().argument ? 1u : 0u, error["arguments"].size());
}

TEST(Refusal, WithoutAReasonPointsAtTheLock) {
    const Answer answer = Host(L"refuse:0").Run({"vport", "create", WWPN});
    EXPECT_EQ(17, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: The agent refused the change without giving a reason.\n"));
    EXPECT_THAT(answer.err, HasSubstr("configuration lock"));
}

TEST(Refusal, WithAnUnknownCodeShowsTheCode) {
    const Answer answer = Host(L"refuse:999").Run({"vport", "create", WWPN});
    EXPECT_EQ(17, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("error 0x370003E7"));
}

TEST(OneAdapter, SeveralNeedAName) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"vport", "create"}, {"vport", "delete", WWPN}, {"wwpn"}, {"rescan"}}) {
        Host host(L"two");
        const Answer answer = host.Run(command);
        EXPECT_EQ(5, answer.exit);
        EXPECT_EQ("fcoectl: There are several adapters; name one with --adapter.\n"
                  "  --adapter {0B6C7E1A-5D24-4F8B-9C11-000000000001}  ORVAN CNA Port 1\n"
                  "  --adapter {0B6C7E1A-5D24-4F8B-9C11-000000000002}  ORVAN CNA Port 2\n",
                  answer.err);
        EXPECT_EQ((std::vector<std::string>{"GetFcoeAgent", "Enumerate hbas ", "Uninstall"}), host.Calls())
            << "nothing was changed";
    }
}

TEST(OneAdapter, NoneIsSaid) {
    const Answer answer = Host(L"none").Run({"rescan"});
    EXPECT_EQ(5, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: There is no adapter.\n  FCoE is not installed"));
}

TEST(OneAdapter, IsNotGuessedWhileOthersMayBeHidden) {
    EXPECT_EQ(5, Host(L"false:hbas").Run({"rescan"}).exit) << "the list is not complete";
    EXPECT_EQ(5, Host(L"unread").Run({"rescan"}).exit) << "its only record is empty";
}
