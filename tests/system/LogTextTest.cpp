// The kit's reading of a log, on written-out lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/LogText.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A line of a log, without its end.
std::string LineOf(const std::string& text) {
    return "FCOEAGENT\tPID:1a\tTID:2b\t09:08:07.006\t(1F)\tTIER 3\t\t" + text;
}

const std::string LOG = LineOf("ENTRY:  CFirst::Read") + "\r\n" + LineOf("CSecond::Open failed") + "\r\n" +
                        LineOf("two lines:") + "\r\nthe second\r\n" + LineOf("EXIT:  CFirst::Read, bReturn=true") +
                        "\r\n";

} // namespace

TEST(LogText, ParseTakesALineApart) {
    const std::string line = LineOf("a text\twith a tab");
    const auto parts = LogText::Parse(line);
    ASSERT_TRUE(parts);
    EXPECT_EQ("FCOEAGENT", parts->module);
    EXPECT_EQ(0x1Au, parts->pid);
    EXPECT_EQ(0x2Bu, parts->tid);
    EXPECT_EQ("09:08:07.006", parts->time);
    EXPECT_EQ(0x1Fu, parts->counter);
    EXPECT_EQ(3, parts->tier);
    EXPECT_EQ("a text\twith a tab", parts->text);
}

TEST(LogText, ParseTakesATierBelowZero) {
    std::string line = LineOf("text");
    line.replace(line.find("TIER 3"), 6, "TIER -1");
    const auto parts = LogText::Parse(line);
    ASSERT_TRUE(parts);
    EXPECT_EQ(-1, parts->tier);
}

TEST(LogText, ParseTakesAnEmptyText) {
    const std::string line = LineOf("");
    const auto parts = LogText::Parse(line);
    ASSERT_TRUE(parts);
    EXPECT_EQ("", parts->text);
}

TEST(LogText, ParseRefusesALineWithoutTheWholeHeader) {
    const std::string line = LineOf("");
    for (std::size_t length = 0; length < line.size(); ++length)
        EXPECT_FALSE(LogText::Parse(line.substr(0, length))) << length;
    for (const auto& [part, wrong] :
         {std::pair{"PID:1a", "PID:xx"}, std::pair{"TID:2b", "TID:"}, std::pair{"09:08", "9:08"},
          std::pair{"7.006", "7,006"}, std::pair{"(1F)", "1F"}, std::pair{"TIER 3", "TIER x"}}) {
        std::string broken = line;
        broken.replace(broken.find(part), std::string(part).size(), wrong);
        EXPECT_FALSE(LogText::Parse(broken)) << broken;
    }
}

TEST(LogText, TextOfALineWithoutAHeaderIsTheLine) {
    const std::string line = LineOf("text");
    EXPECT_EQ("text", LogText::TextOf(line));
    EXPECT_EQ("the second", LogText::TextOf("the second"));
}

TEST(LogText, LinesEndInCrLfAndTheLastOneMayLackIt) {
    EXPECT_THAT(LogText::Lines(""), IsEmpty());
    EXPECT_THAT(LogText::Lines("a\r\n\r\nb\r\n"), ElementsAre("a", "", "b"));
    EXPECT_THAT(LogText::Lines("a\nb\r\nc"), ElementsAre("a\nb", "c"));
}

TEST(LogText, TextsAreAllAndMessagesThoseThatAreNoTraces) {
    EXPECT_THAT(LogText::Texts(LOG), ElementsAre("ENTRY:  CFirst::Read", "CSecond::Open failed",
                                                 "two lines:", "the second", "EXIT:  CFirst::Read, bReturn=true"));
    EXPECT_THAT(LogText::Messages(LOG), ElementsAre("CSecond::Open failed", "two lines:", "the second"));
}

TEST(LogText, FiltersTakeBeginningsOutOrWholeTextsIn) {
    EXPECT_THAT(LogText::Messages(LOG, LogText::Without({"CSecond::", "other"})),
                ElementsAre("two lines:", "the second"));
    EXPECT_THAT(LogText::Messages(LOG, LogText::Only({"the second", "two"})), ElementsAre("the second"));
}

TEST(LogText, TracesOfAreTheOperationsOwn) {
    const std::vector<std::string> texts{"ENTRY:  CFirst::Read",   "ENTRY:  CFirst::ReadAll",
                                         "EXIT:  CFirst::ReadAll", "EXIT:  CFirst::Read, 1",
                                         "CFirst::Read",           "EXIT:  CFirst::Read"};
    EXPECT_THAT(LogText::TracesOf(texts, "CFirst::Read"),
                ElementsAre("ENTRY:  CFirst::Read", "EXIT:  CFirst::Read, 1", "EXIT:  CFirst::Read"));
}

TEST(LogText, TracedNeedsTheEntryAndAfterItTheExitWithTheResult) {
    const auto texts = LogText::Texts(LOG);
    EXPECT_TRUE(LogText::Traced(texts, "CFirst::Read", ", bReturn=true"));
    EXPECT_FALSE(LogText::Traced(texts, "CFirst::Read", ", bReturn=false"));
    EXPECT_FALSE(LogText::Traced(texts, "CFirst::Read"));
    EXPECT_FALSE(LogText::Traced(texts, "CSecond::Open"));
    EXPECT_FALSE(LogText::Traced({"EXIT:  CFirst::Read", "ENTRY:  CFirst::Read"}, "CFirst::Read"));
}
