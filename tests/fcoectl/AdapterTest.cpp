// Which adapter --adapter means.
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

std::vector<std::string> PortsOf(const char* adapter) {
    return {"ports", "--adapter", adapter};
}

} // namespace

class NamedAdapter : public testing::TestWithParam<std::pair<const char*, const char*>> {};

INSTANTIATE_TEST_SUITE_P(Ways, NamedAdapter,
                         testing::Values(std::pair{"identifier", SECOND},
                                         std::pair{"lower_case", "{0b6c7e1a-5d24-4f8b-9c11-000000000002}"},
                                         std::pair{"without_braces", "0B6C7E1A-5d24-4F8B-9C11-000000000002"},
                                         std::pair{"number", "2"}, std::pair{"name", "orvan cna port 2"},
                                         std::pair{"part_of_the_name", "T 2"},
                                         std::pair{"port_wwn", "20:00:00:1b:21:00:00:02"},
                                         std::pair{"port_wwn_without_colons", "2000001B21000002"}),
                         [](const auto& info) { return std::string(info.param.first); });

TEST_P(NamedAdapter, IsTheSecond) {
    Host host(L"two");
    EXPECT_EQ(0, host.Run(PortsOf(GetParam().second)).exit);
    EXPECT_THAT(host.Calls(), Contains(std::string("Enumerate ports ") + SECOND)) << "as the agent spells it";
    EXPECT_EQ(0, host.Run({"rescan", "--adapter", GetParam().second}).exit);
    EXPECT_THAT(host.Calls(), Contains(std::string("RefreshTargets ") + SECOND));
}

TEST(Adapter, OfAWholeIdentifierIsAskedAlone) {
    Host host(L"two");
    host.Run(PortsOf(SECOND));
    EXPECT_EQ((std::vector<std::string>{"GetFcoeAgent", std::string("Enumerate statistics ") + SECOND,
                                        std::string("Enumerate ports ") + SECOND, "Uninstall"}),
              host.Calls());
}

TEST(Adapter, WithoutCountersIsKnownByItsRecord) {
    Host host(L"two empty:statistics");
    EXPECT_EQ(0, host.Run(PortsOf(SECOND)).exit);
    EXPECT_THAT(host.Calls(), Not(Contains("Enumerate hbas ")));
}

TEST(Adapter, UnknownOneIsRefusedWithTheKnownOnes) {
    for (const char* unknown :
         {"{nobody}", "3", "0", "-1", "nobody", "{0B6C7E1A-5D24-4F8B-9C11-000000000009}", "20:00:00:1B:21:00:00:09"}) {
        Host host(L"two");
        const Answer answer = host.Run({"ports", std::string("--adapter=") + unknown});
        EXPECT_EQ(5, answer.exit);
        EXPECT_EQ("", answer.out);
        EXPECT_EQ("fcoectl: The adapter '" + std::string(unknown) +
                      "' is unknown.\n"
                      "  --adapter 1 or --adapter \"{0B6C7E1A-5D24-4F8B-9C11-000000000001}\"  ORVAN CNA Port 1\n"
                      "  --adapter 2 or --adapter \"{0B6C7E1A-5D24-4F8B-9C11-000000000002}\"  ORVAN CNA Port 2\n",
                  answer.err);
        EXPECT_THAT(host.Calls(), Not(Contains(StartsWith("Enumerate ports"))));
    }
    const auto error = Host(L"two").Run({"ports", "--json", "--adapter", "{nobody}"}).Json()["error"];
    EXPECT_EQ("adapter_unknown", error["name"]);
    EXPECT_EQ((nlohmann::ordered_json{FIRST, SECOND}), error["arguments"]);
}

TEST(Adapter, PartOfSeveralNamesIsRefusedWithThose) {
    const Answer answer = Host(L"two").Run(PortsOf("cna"));
    EXPECT_EQ(5, answer.exit);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: 'cna' names 2 adapters.\n  --adapter 1 or "));
}

TEST(Adapter, EmptyNameIsAnError) {
    for (const std::vector<std::string>& given :
         {std::vector<std::string>{"ports", "--adapter", ""}, {"ports", "--adapter="}, {"rescan", "--adapter", ""}}) {
        Host host(L"two");
        const Answer answer = host.Run(given);
        EXPECT_EQ(2, answer.exit);
        EXPECT_THAT(answer.err, StartsWith("fcoectl: --adapter: is empty"));
        EXPECT_EQ((std::vector<std::string>{}), host.Calls());
    }
}

TEST(Adapter, IsTakenAsTypedWhileNotAllCanBeListed) {
    Host host(L"unread");
    EXPECT_EQ(0, host.Run(PortsOf("{typed}")).exit);
    EXPECT_THAT(host.Calls(), Contains("Enumerate ports {typed}"));
}

TEST(Adapter, IsNotGuessedWhileOthersMayBeHidden) {
    EXPECT_EQ(0, Host(L"two unread").Run(PortsOf("2")).exit) << "an empty record has its number, too";
    EXPECT_EQ(5, Host(L"two unread").Run(PortsOf("T 2")).exit) << "the first one's name may have that part";
    EXPECT_EQ(5, Host(L"two false:hbas").Run(PortsOf("1")).exit) << "the list may lack adapters before it";
    EXPECT_THAT(Host(L"two unread").Run(PortsOf("1")).err, HasSubstr("not every adapter could be read"));
}
