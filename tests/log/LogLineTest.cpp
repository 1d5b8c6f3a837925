#include "tools/log/LogLine.h"

#include <gtest/gtest.h>

namespace {

using agentlog::LogLine;
using agentlog::ParseLine;
using agentlog::ResultKind;
using agentlog::Step;

constexpr std::string_view HEADER = "FCOEAGENT\tPID:2c\tTID:30\t14:03:27.512\t(1D3A5C02)\tTIER 3\t\t";

std::optional<LogLine> Parse(std::string_view text) {
    static std::string line;
    line = std::string(HEADER) + std::string(text);
    return ParseLine(line);
}

} // namespace

TEST(ParsedLogLine, HasItsHeaderTakenApart) {
    const auto line = Parse("CHBAAPIInt::GetTargetList Succeeded");
    ASSERT_TRUE(line);
    EXPECT_EQ("FCOEAGENT", line->module);
    EXPECT_EQ(0x2cu, line->process);
    EXPECT_EQ(0x30u, line->thread);
    EXPECT_EQ(((14u * 60 + 3) * 60 + 27) * 1000 + 512, line->time);
    EXPECT_EQ(0x1D3A5C02u, line->counter);
    EXPECT_EQ(3, line->tier);
    EXPECT_EQ(Step::Message, line->step);
    EXPECT_EQ("CHBAAPIInt::GetTargetList Succeeded", line->text);
    EXPECT_FALSE(line->IsError());
}

TEST(ParsedLogLine, TellsWhereAnOperationBegins) {
    const auto line = Parse("ENTRY:  CQelFcoeHBA::~CQelFcoeHBA");
    ASSERT_TRUE(line);
    EXPECT_EQ(Step::Entry, line->step);
    EXPECT_EQ("CQelFcoeHBA::~CQelFcoeHBA", line->operation);
    EXPECT_EQ(ResultKind::None, line->resultKind);
}

struct ExitCase {
    const char* text;
    ResultKind kind;
    const char* shown;
    std::int64_t number;
};

class LogLineExit : public testing::TestWithParam<ExitCase> {};

TEST_P(LogLineExit, HasTheResult) {
    const auto line = Parse(std::string("EXIT:  Class::Work") + GetParam().text);
    ASSERT_TRUE(line);
    EXPECT_EQ(Step::Exit, line->step);
    EXPECT_EQ("Class::Work", line->operation);
    EXPECT_EQ(GetParam().kind, line->resultKind);
    EXPECT_EQ(GetParam().shown, line->resultText);
    EXPECT_EQ(GetParam().number, line->result);
}

INSTANTIATE_TEST_SUITE_P(Forms, LogLineExit,
                         testing::Values(ExitCase{", bReturn=true", ResultKind::Boolean, "true", 1},
                                         ExitCase{", bReturn=false", ResultKind::Boolean, "false", 0},
                                         ExitCase{", nReturn=-5", ResultKind::Number, "-5", -5},
                                         ExitCase{", res.ulErrCode=-1", ResultKind::Status, "-1", -1},
                                         ExitCase{", HRESULT=0X80004005", ResultKind::HResult, "0X80004005",
                                                  0x80004005},
                                         ExitCase{"", ResultKind::None, "", 0}));

TEST(ParsedLogLine, NamesThePlaceOfAnError) {
    const auto line = Parse("Common\\Src\\QelNetAgentPvt (352): CQelNetAgentPvt::StartLock() - Exception caught");
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->IsError());
    EXPECT_EQ("Common\\Src\\QelNetAgentPvt", line->place);
    EXPECT_EQ(352u, line->placeLine);
    EXPECT_EQ("CQelNetAgentPvt::StartLock() - Exception caught", line->text);
}

TEST(ParsedLogLine, IsNoErrorForAPathInItsText) {
    const auto line = Parse("Adding strMiniportInst=PCI\\VEN_1 (2): x");
    ASSERT_TRUE(line);
    EXPECT_FALSE(line->IsError());
    EXPECT_EQ("Adding strMiniportInst=PCI\\VEN_1 (2): x", line->text);
}

TEST(ParsedLogLine, MayLackCounterAndTier) {
    const auto line = ParseLine("NICAGENT\tPID:1\tTID:2\t00:00:00.001\tENTRY:  Work");
    ASSERT_TRUE(line);
    EXPECT_EQ(0u, line->counter);
    EXPECT_EQ(0, line->tier);
    EXPECT_EQ("Work", line->operation);
}

class NoLogLine : public testing::TestWithParam<const char*> {};

TEST_P(NoLogLine, IsNone) {
    EXPECT_FALSE(ParseLine(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Texts, NoLogLine,
                         testing::Values("", "\t", "rest of a message", "FCOEAGENT\tPID:2c", "FCOEAGENT\tPID:zz\tTID:1",
                                         "FCOEAGENT\tPID:2c\tTID:30\t14:03",
                                         "\xff\xfe\tPID:", "FCOEAGENT\tPID:2c\tTID:30\t24:00:00.000\t(1)\tTIER 1\t\tx",
                                         "FCOEAGENT\tPID:2c\tTID:30\t14:03:27.512\t(XY)\tTIER 1\t\tx",
                                         "FCOEAGENT\tPID:2c\tTID:30\t14:03:27.512\t(1F)\tTIER one\t\tx",
                                         "FCOEAGENT\tPID:123456789\tTID:30\t14:03:27.512\t(1)\tTIER 1\t\tx"));

TEST(ParsedLogLine, IsReadCutBehindItsHeaderAndNotWithinItsTime) {
    const std::string whole = std::string(HEADER) + "EXIT:  Class::Work, HRESULT=0X80004005";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::string cut = whole.substr(0, length); // a text of its own, so that a read past its end is seen
        const bool read = ParseLine(cut).has_value();
        if (cut.find(".512\t") == std::string::npos) {
            EXPECT_FALSE(read) << cut;
        } else if (length >= HEADER.size()) {
            EXPECT_TRUE(read) << cut;
        }
    }
}

TEST(ParsedLogLine, FindsTheLineThatBeginsInAnother) {
    const std::string second = std::string(HEADER) + "EXIT:  Class::Work";
    for (const std::string first : {"ENTRY:  Class::Wo", "Succee", ""}) {
        const std::string torn = std::string(HEADER) + first + second;
        const auto line = ParseLine(torn);
        ASSERT_TRUE(line);
        EXPECT_EQ(torn.size() - second.size(), agentlog::FindTear(torn, *line)) << torn;
    }
    const auto whole = ParseLine(second);
    ASSERT_TRUE(whole);
    EXPECT_EQ(std::string_view::npos, agentlog::FindTear(second, *whole));
}
