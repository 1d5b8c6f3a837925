// What failed in the same way several times is one problem that counts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reading/ReadingHost.h"

using testing::HasSubstr;

namespace {

std::string ProblemOf(const char* words, const std::string& entry) {
    ReadingHost host;
    host.Simulate(ReadingHost::Topology(entry));
    const ReadingHost::Reading reading = host.Run(words);
    EXPECT_FALSE(reading.document["problems"].empty()) << reading.document;
    return reading.document["problems"].empty() ? "" : reading.document["problems"][0]["text"].get<std::string>();
}

} // namespace

TEST(RepeatedLoss, IsCounted) {
    EXPECT_THAT(ProblemOf("targets", R"({"function": "ScsiInquiry", "status": 1})"),
                HasSubstr("a target could not be read (3 times): ScsiInquiry failed"));
}

TEST(RepeatedLoss, OfOneNeedsNoNumber) {
    EXPECT_THAT(ProblemOf("targets", R"({"function": "ScsiInquiry", "status": 1, "on_call": 1})"),
                HasSubstr("a target could not be read: ScsiInquiry failed"));
}

TEST(RepeatedLoss, NamesTheFirstOfSeveral) {
    EXPECT_THAT(
        ProblemOf(
            "luns",
            R"({"function": "ScsiReadCapacityV2", "status": 1}, {"function": "ORVAN_SendReadCapacity16", "status": 1})"),
        HasSubstr("and 5 more could not be read: ScsiReadCapacityV2 failed"));
}
