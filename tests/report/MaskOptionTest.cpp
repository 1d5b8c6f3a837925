// --mask on the simulated suite.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/report/SuiteReport.h"
#include "tools/fcoectl/Machine.h"

using testing::HasSubstr;
using testing::Not;

TEST(MaskOption, IsOfEveryOutput) {
    SuiteReport suite;
    suite.Break(); // so that there are messages, too
    const std::vector<std::vector<std::string>> commands = {{"hbas"},
                                                            {"fabrics", "--json"},
                                                            {"ports", "-o", "csv"},
                                                            {"targets", "-o", "jsonl"},
                                                            {"luns", "--long"},
                                                            {"disks"},
                                                            {"vlans", "-o", "tsv"},
                                                            {"stats"},
                                                            {"tree"},
                                                            {"dcb"},
                                                            {"doctor"},
                                                            {"vport", "list"},
                                                            {"rescan", "--all", "--dry-run"},
                                                            {"targets", "--adapter", "Vault"},
                                                            {"targets", "--adapter", "2"},
                                                            {"log", "problems"}};
    for (std::vector<std::string> words : commands) {
        const Answer plain = suite.Run(words);
        words.emplace_back("--mask");
        const Answer masked = suite.Run(words);
        EXPECT_EQ(plain.exit, masked.exit) << words.front();
        EXPECT_EQ(plain.out.size() > 0, masked.out.size() > 0) << words.front();
        for (const std::string& secret : SECRETS) {
            EXPECT_THAT(masked.out, Not(HasSubstr(secret))) << words.front();
            EXPECT_THAT(masked.err, Not(HasSubstr(secret))) << words.front();
        }
    }
}

TEST(MaskOption, HasOneStandInForOneText) {
    SuiteReport suite;
    const auto hba = suite.Run({"hbas", "--mask", "--json"}).Json()["hbas"][0];
    const auto target = suite.Run({"targets", "--mask", "--json"}).Json()["targets"][0];
    EXPECT_EQ(hba["second_id"], target["second_id"]);
    EXPECT_EQ(hba["device_id"], target["device_id"]);
    EXPECT_THAT(suite.Run({"tree", "--mask"}).out, HasSubstr(hba["second_id"].get<std::string>()));
    EXPECT_THAT(suite.Run({"targets", "--mask", "-o", "jsonl"}).out, HasSubstr(target["serial"].get<std::string>()));
}

TEST(MaskOption, ReplacesWhoUsesTheMachine) {
    SuiteReport suite;
    const std::string user = '"' + fcoectl::UserName() + '"';
    EXPECT_THAT(suite.Run({"doctor"}).out, HasSubstr(user));
    EXPECT_THAT(suite.Run({"doctor", "--mask"}).out, Not(HasSubstr(user)));
}

TEST(MaskOption, LeavesColumnsAlone) {
    SuiteReport suite;
    const std::string plain = suite.Run({"hbas"}).out;
    const std::string masked = suite.Run({"hbas", "--mask"}).out;
    const auto head = plain.find("Vault");
    EXPECT_EQ(plain.substr(0, head), masked.substr(0, head));
    EXPECT_EQ(plain.size(), masked.size());
    EXPECT_NE(plain, masked);
}
