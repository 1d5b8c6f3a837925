#include "tools/log/LogMessages.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "tests/kit/TempFolder.h"
#include "tests/log/Sources.h"
#include "tools/log/LibraryStatus.h"
#include "tools/log/LogOperations.h"

namespace {

using agentlog::Argument;
using agentlog::FindMessage;
using agentlog::LogMessage;
using agentlog::LogMessages;
using agentlog::Neighbour;
using agentlog::Weight;

// A text that the pattern makes.
std::string Example(std::string text) {
    constexpr std::pair<std::string_view, std::string_view> ARGUMENTS[] = {
        {"%lld", "-12"}, {"%llX", "AF0"}, {"%l", ""}, {"%d", "3"}, {"%x", "80070005"}, {"%s", "{5B2C} (a)"}};
    for (const auto& [conversion, argument] : ARGUMENTS)
        for (std::size_t at = text.find(conversion); at != std::string::npos; at = text.find(conversion))
            text.replace(at, conversion.size(), argument);
    return text;
}

} // namespace

TEST(LogMessages, AreAllThatTheAgentWrites) {
    const std::set<std::string> logged = LoggedTexts();
    ASSERT_GT(logged.size(), 100u);
    for (const std::string& text : logged)
        EXPECT_TRUE(std::ranges::any_of(LogMessages(), [&](const LogMessage& m) { return m.pattern == text; }))
            << "not in the table: " << text;
}

TEST(LogMessages, HaveNothingThatTheAgentDoesNotWrite) {
    const std::set<std::string> logged = LoggedTexts();
    for (const LogMessage& message : LogMessages()) {
        const std::string text = Example(std::string(message.pattern));
        const bool written = std::ranges::any_of(
            logged, [&](const std::string& pattern) { return pattern == message.pattern || Matches(text, pattern); });
        EXPECT_TRUE(written) << message.pattern;
    }
}

TEST(LogMessages, AreFoundByTheirTexts) {
    for (const LogMessage& message : LogMessages()) {
        const std::string text = Example(std::string(message.pattern));
        const auto found = FindMessage(text);
        ASSERT_TRUE(found) << message.pattern;
        EXPECT_EQ(message.pattern, found->message->pattern);
        const bool number = message.argument == Argument::LibraryStatus || message.argument == Argument::SystemError ||
                            message.argument == Argument::HResult;
        if (number) {
            EXPECT_EQ(message.argument == Argument::HResult ? 0x80070005u : 3u, found->Number()) << message.pattern;
        }
    }
}

TEST(LogMessages, AreNotFoundByAnyOtherText) {
    for (const char* text : {"", "x", "Error Getting Handles", "Error Getting", "GetVports failed - status - x",
                             "GetVports failed - status - ", "GetVports failed - status - 3 x", "%d"})
        EXPECT_FALSE(FindMessage(text)) << text;
}

TEST(LogMessages, TellTheExactRowFromTheGeneralOne) {
    const auto own = FindMessage("ERROR:  Unable to find path to library!  Defaulting to no path orvanhapi.dll");
    const auto other = FindMessage("ERROR:  Unable to find path to library!  Defaulting to no path CoreAgnt");
    ASSERT_TRUE(own && other);
    EXPECT_EQ(Weight::Normal, own->message->weight);
    EXPECT_EQ(Weight::Problem, other->message->weight);
    const auto close = FindMessage("CQelFcoeHBA::Close() - Exception caught");
    const auto any = FindMessage("CQelFcoeAgentWin::EnumerateLUNs() - Exception caught");
    ASSERT_TRUE(close && any);
    EXPECT_EQ(Neighbour::VendorLibrary, close->message->neighbour);
    EXPECT_EQ("CQelFcoeAgentWin::EnumerateLUNs", any->argument);
}

TEST(LogMessages, ExplainEachProblem) {
    for (const LogMessage& message : LogMessages()) {
        EXPECT_NE('\0', message.meaning[0]) << message.pattern;
        const bool problem = message.weight == Weight::Problem || message.weight == Weight::Retried;
        EXPECT_EQ(problem, message.advice[0] != '\0' && message.weight != Weight::Consequence) << message.pattern;
    }
}

TEST(LogMessages, WithoutAFunctionAreOfAnOperationThatCallsOne) {
    EXPECT_STREQ("ORVAN_GetFCoEControllerHandle", agentlog::FindOperation("CHBAAPIInt::GetAdapterHandle")->function);
    EXPECT_EQ(nullptr, agentlog::FindOperation("CQelFcoeHBA::Open"));
}

TEST(LibraryStatus, HasTheNameAndTheWordsOfTheNumber) {
    ASSERT_TRUE(agentlog::FindLibraryStatus(3));
    EXPECT_STREQ("HBA_STATUS_ERROR_INVALID_HANDLE", agentlog::FindLibraryStatus(3)->name);
    EXPECT_EQ("invalid handle (status 3)", agentlog::LibraryStatusText(3));
    EXPECT_EQ("unknown status (status 77)", agentlog::LibraryStatusText(77));
}

TEST(LibraryStatus, KnowsEveryStatusOfTheHeader) {
    const auto statuses = HeaderStatuses();
    EXPECT_EQ(30u, statuses.size());
    for (const auto& [name, value] : statuses) {
        ASSERT_TRUE(agentlog::FindLibraryStatus(value)) << name;
        EXPECT_EQ(name, agentlog::FindLibraryStatus(value)->name);
    }
}
