// --timeout: an agent that does not answer, and one that does.
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tools/fcoectl/TimeLimit.h"

using fcoectl::TimeLimit;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Timeout, EndsTheProcessWhileTheAgentHangs) {
    Host host(L"hang:vlans");
    const Answer answer = host.RunOnFakeAgent(L"vlans --timeout 0.3");
    EXPECT_EQ(8, answer.exit);
    EXPECT_EQ("", answer.out);
    EXPECT_THAT(answer.err, StartsWith("fcoectl: The agent did not answer within 0.3 s.\n"));
    EXPECT_THAT(answer.err, HasSubstr("log"));
}

TEST(Timeout, IsOneDocumentInJson) {
    Host host(L"hang:vlans");
    const Answer answer = host.RunOnFakeAgent(L"vlans --json --timeout 0.3");
    EXPECT_EQ(8, answer.exit);
    EXPECT_EQ("", answer.err);
    const auto document = answer.Json();
    EXPECT_EQ("timed_out", document["error"]["name"]);
    EXPECT_TRUE(document["vlans"].is_array());
}

TEST(Timeout, OfAChangeSaysThatItsOutcomeIsNotKnown) {
    Host host(L"hang:change");
    const Answer answer = host.RunOnFakeAgent(L"vport create --timeout 0.3");
    EXPECT_EQ(8, answer.exit);
    EXPECT_THAT(answer.err, HasSubstr("The change may have been carried out, or not"));
}

TEST(Timeout, CountsForEachReadingOfAWatch) {
    Host host(L"hang:later");
    const Answer answer = host.RunOnFakeAgent(L"stats --watch 0.5 --timeout 0.3");
    EXPECT_EQ(8, answer.exit) << "the waiting is longer than the limit, and is none of the agent's";
    EXPECT_THAT(answer.out, HasSubstr("\n\nAfter "));
}

TEST(Timeout, OfTheDoctorLeavesWhatHeHasFound) {
    Host host(L"hang:vlans");
    const Answer answer = host.RunOnFakeAgent(L"doctor --timeout 3");
    EXPECT_EQ(8, answer.exit) << answer.out;
    EXPECT_THAT(answer.out, HasSubstr("  log level  "));
    EXPECT_THAT(answer.err, StartsWith("fcoectl: The agent did not answer within 3 s.\n"));
}

TEST(Timeout, LetsAnAnswerInTimeThrough) {
    const Answer answer = Host(L"two").Run({"vlans", "--timeout", "60"});
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(Host(L"two").Run({"vlans"}).out, answer.out);
    EXPECT_EQ(1, Host(L"two false:vlans").Run({"vlans", "--timeout", "60"}).exit);
}

TEST(Timeout, TakesATenthOfASecondToADay) {
    for (const char* value : {"0", "-1", "x", "", "1e9"})
        EXPECT_EQ(2, Host().Run({"vlans", std::string("--timeout=") + value}).exit) << value;
}

TEST(TimeLimit, StandsStillWhilePaused) {
    TimeLimit limit(0.1);
    limit.Restart();
    EXPECT_FALSE(limit.Wait());
    limit.Pause();
    std::thread end([&] { limit.Finish(); });
    EXPECT_TRUE(limit.Wait());
    end.join();
}

TEST(TimeLimit, NoneNeverPasses) {
    TimeLimit limit(std::nullopt);
    limit.Restart();
    std::thread end([&] { limit.Finish(); });
    EXPECT_TRUE(limit.Wait());
    end.join();
}
