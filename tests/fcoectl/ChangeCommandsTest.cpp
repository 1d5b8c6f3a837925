// The commands that change something, against the scripted agent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tools/fcoectl/Codes.h"

using reading::FindAgentError;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
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

TEST(VportCreate, WritesAWwpnAsTheAgentTakesIt) {
    for (const char* typed : {"20:01:00:1b:21:aa:bb:cc", "2001001B21aabbcc"}) {
        Host host;
        EXPECT_EQ("20:01:00:1B:21:AA:BB:CC", host.Run({"vport", "create", typed, "--json"}).Json()["port_wwn"]);
        EXPECT_THAT(host.Calls(), Contains(std::string("CreateVPort ") + FIRST + " 20:01:00:1B:21:AA:BB:CC own"));
    }
}

TEST(VportDelete, FindsTheAdapterThatHasThePort) {
    Host host(L"two");
    const Answer answer = host.Run({"vport", "delete", "2001001b21000001"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(
        (std::vector<std::string>{"GetFcoeAgent", "Enumerate hbas ", "Enumerate ports ",
                                  std::string("DeleteVPort ") + FIRST + " 20:01:00:1B:21:00:00:01 own", "Uninstall"}),
        host.Calls());
}

TEST(VportDelete, PortOfNoAdapterIsNotFound) {
    Host host(L"two");
    const Answer answer = host.Run({"vport", "delete", WWPN});
    EXPECT_EQ(13, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: No adapter has a virtual port '20:01:00:1B:21:00:00:09'.\n"));
    EXPECT_THAT(host.Calls(), Not(Contains(StartsWith("DeleteVPort"))));
}

TEST(VportDelete, PortOfSeveralAdaptersNeedsAName) {
    Host host(L"two shared");
    const Answer answer = host.Run({"vport", "delete", "20:01:00:1B:21:00:00:01"});
    EXPECT_EQ(5, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: 2 adapters have a port '20:01:00:1B:21:00:00:01'"));
    EXPECT_THAT(host.Calls(), Not(Contains(StartsWith("DeleteVPort"))));
}

TEST(VportDelete, DoesNotGuessWhilePortsMayBeHidden) {
    Host host(L"two false:ports");
    EXPECT_EQ(5, host.Run({"vport", "delete", WWPN}).exit);
    EXPECT_THAT(host.Calls(), Not(Contains(StartsWith("DeleteVPort"))));
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

TEST(Rescan, OfAllAsksEachAdapter) {
    Host host(L"two");
    const auto document = host.Run({"rescan", "--all", "--json"}).Json();
    EXPECT_EQ((nlohmann::ordered_json{FIRST, SECOND}), document["adapters"]);
    EXPECT_FALSE(document.contains("adapter"));
    EXPECT_THAT(host.Calls(),
                IsSupersetOf({std::string("RefreshTargets ") + FIRST, std::string("RefreshTargets ") + SECOND}));
    EXPECT_EQ(2, host.Run({"rescan", "--all", "--adapter", "1"}).exit);
}

TEST(Rescan, OfAllGoesOnAfterARefusal) {
    Host host(L"two refuse:0");
    const Answer answer = host.Run({"rescan", "--all", "--json"});
    EXPECT_EQ(16, answer.exit);
    const auto document = answer.Json();
    EXPECT_EQ("ORVAN CNA Port 1", document["error"]["source"]);
    EXPECT_EQ("ORVAN CNA Port 2", document["more_errors"][0]["source"]);
    EXPECT_EQ(0u, document["adapters"].size());
    const Answer partly = Host(L"two refuse:second").Run({"rescan", "--all"});
    EXPECT_EQ(16, partly.exit);
    EXPECT_EQ("Rescanned the targets on ORVAN CNA Port 1 ({0B6C7E1A-5D24-4F8B-9C11-000000000001})\n", partly.out);
    EXPECT_THAT(partly.err, HasSubstr("ORVAN CNA Port 2"));
}

TEST(Rescan, OfAllTellsOfAnAdapterThatCouldNotBeRead) {
    const Answer answer = Host(L"two unread").Run({"rescan", "--all", "--json"});
    EXPECT_EQ(1, answer.exit);
    EXPECT_EQ((nlohmann::ordered_json{SECOND}), answer.Json()["adapters"]);
    EXPECT_EQ(5, Host(L"none").Run({"rescan", "--all"}).exit);
}

struct Rehearsal {
    const char* name;
    std::vector<std::string> command;
    int exit;
    const char* said;
};

class DryRun : public testing::TestWithParam<Rehearsal> {};

INSTANTIATE_TEST_SUITE_P(
    All, DryRun,
    testing::Values(
        Rehearsal{"create", {"vport", "create", WWPN}, 0, "Would create virtual port 20:01:00:1B:21:00:00:09 on ORVAN"},
        Rehearsal{"auto", {"vport", "create"}, 0, "Would create a virtual port with a generated name on ORVAN"},
        Rehearsal{"invalid", {"vport", "create", "20:01"}, 10, "'20:01' is not a valid WWPN"},
        Rehearsal{"in_use", {"vport", "create", "2001001B21000001"}, 11, "already in use"},
        Rehearsal{"remove",
                  {"vport", "delete", "20:01:00:1B:21:00:00:01"},
                  0,
                  "Would delete virtual port 20:01:00:1B:21:00:00:01 on ORVAN"},
        Rehearsal{"not_found", {"vport", "delete", WWPN}, 13, "was not deleted"},
        Rehearsal{"no_wwpn", {"vport", "delete", "port"}, 10, "'port' is not a valid WWPN"},
        Rehearsal{"physical", {"vport", "delete", "20:00:00:1B:21:00:00:01"}, 14, "belongs to a physical port"},
        Rehearsal{"rescan", {"rescan"}, 0, "Would rescan the targets on ORVAN CNA Port 1"},
        Rehearsal{"rescan_all", {"rescan", "--all"}, 0, "Would rescan the targets on ORVAN CNA Port 1"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_P(DryRun, ChecksAndChangesNothing) {
    Host host;
    std::vector<std::string> command = GetParam().command;
    command.emplace_back("--dry-run");
    const Answer answer = host.Run(command);
    EXPECT_EQ(GetParam().exit, answer.exit);
    EXPECT_THAT(answer.out + answer.err, HasSubstr(GetParam().said));
    EXPECT_EQ(GetParam().exit == 0, answer.out.ends_with("; nothing was done\n"));
    for (const char* change : {"CreateVPort", "DeleteVPort", "RefreshTargets", "GenerateVPortWWPN"})
        EXPECT_THAT(host.Calls(), Not(Contains(StartsWith(change))));
    command.emplace_back("--json");
    const auto document = host.Run(command).Json();
    EXPECT_EQ(GetParam().exit == 0, document.contains("dry_run"));
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
        EXPECT_THAT(answer.err, HasSubstr(FindAgentError(GetParam().code)->advice));
        EXPECT_THAT(answer.err, HasSubstr(" log"));
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
         {std::vector<std::string>{"vport", "create"}, {"wwpn"}, {"rescan"}}) {
        Host host(L"two");
        const Answer answer = host.Run(command);
        EXPECT_EQ(5, answer.exit);
        EXPECT_EQ("fcoectl: There are several adapters; name one with --adapter.\n"
                  "  --adapter 1 or --adapter \"{0B6C7E1A-5D24-4F8B-9C11-000000000001}\"  ORVAN CNA Port 1\n"
                  "  --adapter 2 or --adapter \"{0B6C7E1A-5D24-4F8B-9C11-000000000002}\"  ORVAN CNA Port 2\n",
                  answer.err);
        EXPECT_EQ((std::vector<std::string>{"GetFcoeAgent", "Enumerate hbas ", "Uninstall"}), host.Calls())
            << "nothing was changed";
    }
}

TEST(OneAdapter, NoneIsSaid) {
    const Answer answer = Host(L"none").Run({"rescan"});
    EXPECT_EQ(5, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: There is no adapter.\n  There is no core agent in this process"));
}

TEST(OneAdapter, IsNotGuessedWhileOthersMayBeHidden) {
    EXPECT_EQ(5, Host(L"false:hbas").Run({"rescan"}).exit) << "the list is not complete";
    EXPECT_EQ(5, Host(L"unread").Run({"rescan"}).exit) << "its only record is empty";
}

TEST(WithoutLibrary, ARescanOfNothingIsNoSuccess) {
    const Answer answer = Host(L"nolibrary").Run({"rescan"});
    EXPECT_EQ(16, answer.exit);
    EXPECT_EQ("", answer.out);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: Nothing was rescanned.\n  The adapters' HBA library "));
}

TEST(WithoutLibrary, ARefusalTellsThatItIsMissing) {
    for (const auto& arguments : {std::vector<std::string>{"vport", "create"}, {"wwpn"}, {"rescan"}})
        EXPECT_THAT(Host(L"nolibrary refuse:0").Run(arguments).err, HasSubstr("\n  The adapters' HBA library "));
}
