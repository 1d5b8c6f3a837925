#include "tools/log/ReadLog.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/kit/TempFolder.h"
#include "tests/log/WrittenLog.h"
#include "tools/log/ProblemList.h"
#include "tools/log/Timeline.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

constexpr char LUNS[] = "CQelFcoeAgentWin::EnumerateLUNs";

class ReadLogTest : public testing::Test {
  protected:
    std::wstring Path() const { return (m_folder.Path() / L"log.txt").wstring(); }
    void Write(const std::vector<std::string>& lines, const std::string& rest = "",
               std::ios::openmode mode = std::ios::trunc) {
        std::ofstream file(m_folder.Path() / L"log.txt", std::ios::binary | mode);
        for (const std::string& line : lines)
            file << line << "\r\n";
        file << rest;
    }

  private:
    TempFolder m_folder;
};

class Finished : public agentlog::Listener {
  public:
    void OnFinished(const agentlog::Request& request) override { requests.push_back(request); }
    std::vector<agentlog::Request> requests;
};

std::string Line(const char* time, const char* counter, const std::string& text) {
    return std::string("FCOEAGENT\tPID:1\tTID:2\t") + time + "\t(" + counter + ")\tTIER 1\t\t" + text;
}

} // namespace

TEST_F(ReadLogTest, ReadsAWholeFile) {
    WrittenLog log;
    log.Enter(LUNS).Leave(LUNS, "bReturn=true");
    Write(log.Lines());
    Finished finished;
    const auto result = agentlog::ReadLog(Path(), finished);
    EXPECT_EQ(0u, result.error);
    EXPECT_EQ(2u, result.lines);
    EXPECT_EQ(std::filesystem::file_size(Path()), result.bytes);
    EXPECT_FALSE(result.cut);
    EXPECT_THAT(finished.requests, SizeIs(1));
}

TEST_F(ReadLogTest, ReadsACutLineAsFarAsItGoes) {
    WrittenLog log;
    log.Enter(LUNS).Leave(LUNS, "bReturn=true");
    Write({log.Lines()[0]}, log.Lines()[1]); // without its end
    Finished finished;
    const auto result = agentlog::ReadLog(Path(), finished);
    EXPECT_TRUE(result.cut);
    EXPECT_EQ(2u, result.lines);
    EXPECT_EQ(std::filesystem::file_size(Path()), result.bytes);
    ASSERT_THAT(finished.requests, SizeIs(1));
    EXPECT_TRUE(finished.requests[0].finished);
}

TEST_F(ReadLogTest, TellsWhyThereIsNothing) {
    Finished finished;
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, agentlog::ReadLog(Path(), finished).error);
}

TEST_F(ReadLogTest, GoesOnWhileTheFileGrowsAndWhenItBeginsAnew) {
    WrittenLog first, second;
    first.Enter(LUNS).Leave(LUNS, "bReturn=true");
    second.After(7).Enter(LUNS).Leave(LUNS, "bReturn=false");
    Write({first.Lines()[0]});
    Finished finished;
    int waits = 0;
    const auto result = agentlog::ReadLog(Path(), finished, [&] {
        if (++waits == 1) {
            Write({first.Lines()[1]}, "", std::ios::app);
        } else if (waits == 2) {
            EXPECT_EQ(1u, finished.requests.size());
            Write(second.Lines());
        }
        return waits < 4;
    });
    ASSERT_THAT(finished.requests, SizeIs(2));
    EXPECT_EQ("true", finished.requests[0].result);
    EXPECT_EQ("false", finished.requests[1].result);
    EXPECT_EQ(4u, result.lines);
}

TEST_F(ReadLogTest, TakesTheCountersRateFromTheLinesTimes) {
    const std::string entry = std::string("ENTRY:  ") + LUNS, exit = std::string("EXIT:  ") + LUNS;
    Finished finished;
    const auto read = [&] { static_cast<void>(agentlog::ReadLog(Path(), finished)); };
    // 0x100000 ticks in 10 s.
    Write({Line("14:00:00.000", "100000", entry), Line("14:00:10.000", "200000", exit)});
    read();
    // Over midnight.
    Write({Line("23:59:55.000", "100000", entry), Line("00:00:05.000", "200000", exit)});
    read();
    // Too near to tell: 10,000 ticks are a millisecond.
    Write({Line("14:00:00.000", "100000", entry), Line("14:00:00.000", "104E20", exit)});
    read();
    // Without a counter the times count.
    Write({std::string("M\tPID:1\tTID:2\t14:00:00.000\t") + entry,
           std::string("M\tPID:1\tTID:2\t14:00:00.030\t") + exit});
    read();
    std::vector<double> times;
    for (const auto& request : finished.requests)
        times.push_back(request.milliseconds);
    EXPECT_THAT(times, ElementsAre(10000, 10000, 2, 30));
}

TEST_F(ReadLogTest, ProblemsOfOneKindAreCountedTogether) {
    WrittenLog log;
    for (int i = 0; i < 3; ++i)
        log.Enter(LUNS)
            .Call("CHBAAPIInt::GetTargetList", {"CHBAAPIInt::GetTargetList failed with error - 3"}, "bReturn=false")
            .Leave(LUNS, "bReturn=true");
    log.Enter(LUNS)
        .Call("CHBAAPIInt::GetTargetList", {"CHBAAPIInt::GetTargetList failed with error - 4"}, "bReturn=false")
        .Leave(LUNS, "bReturn=true");
    // What an operation came to after its repetitions has no line of its own.
    for (const char* status : {"2", "10"})
        log.Enter(LUNS)
            .Call("CHBAAPIInt::RetrieveLUNCapacityV2", {std::string("RetrieveLUNCapacityV2 failed - Status=") + status})
            .Leave(LUNS, "bReturn=true");
    Write(log.Lines());
    agentlog::ProblemList problems;
    static_cast<void>(agentlog::ReadLog(Path(), problems));
    EXPECT_EQ(6u, problems.Total());
    ASSERT_THAT(problems.Kinds(), SizeIs(4));
    EXPECT_EQ(3u, problems.Kinds()[0].count);
    EXPECT_EQ(1u, problems.Kinds()[0].firstRequest);
    EXPECT_EQ(3u, problems.Kinds()[0].lastRequest);
    EXPECT_EQ(3u, problems.Kinds()[0].firstLine);
    EXPECT_EQ(4u, problems.Kinds()[1].number);
    EXPECT_EQ(2u, problems.Kinds()[2].number);
    EXPECT_EQ(10u, problems.Kinds()[3].number);
}

TEST_F(ReadLogTest, TimelineIsTraceEventJson) {
    WrittenLog log;
    log.Enter(LUNS).After(9).Enter("CHBAAPIInt::GetTargetList").Say("CHBAAPIInt::GetTargetList failed with error - 3");
    log.Leave("CHBAAPIInt::GetTargetList", "bReturn=false").Leave("CQelFcoeHBA::Open").Enter("A \"quoted\"\\ name");
    Write(log.Lines());
    std::string text;
    agentlog::Timeline timeline(agentlog::MeasureCounterRate(Path()), [&](std::string_view part) { text += part; });
    static_cast<void>(agentlog::ReadLog(Path(), timeline));
    timeline.Finish();
    const auto document = nlohmann::json::parse(text);
    const auto& events = document["traceEvents"];
    EXPECT_EQ(events.size(), timeline.Events());
    std::string phases;
    for (const auto& event : events) {
        phases += event["ph"].get<std::string>();
        EXPECT_EQ(0x2c, event["pid"]);
        EXPECT_EQ(0x30, event["tid"]);
    }
    EXPECT_EQ("BBiEBEE", phases) << "what is open at the end is closed";
    EXPECT_EQ(0, events[0]["ts"]);
    EXPECT_EQ(10000, events[1]["ts"]) << "microseconds";
    EXPECT_EQ("ORVAN_GetTargetList", events[1]["args"]["function"]);
    EXPECT_EQ("problem", events[2]["cat"]);
    EXPECT_EQ("false", events[3]["args"]["result"]);
    EXPECT_EQ("A \"quoted\"\\ name", events[4]["name"]);
}
