// The commands that read the agent's log.
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/fcoectl/LogFolders.h"
#include "tests/kit/TestData.h"
#include "tools/fcoectl/Text.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string SAMPLE = (TestData() / "log/FcoeAgnt.txt").string();

Answer Log(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "log");
    return Host().RunPlain(arguments);
}

Answer LogOfSample(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--file", SAMPLE});
    return Log(arguments);
}

std::string SampleText() {
    return ReadFileBytes(SAMPLE);
}

class LogFiles : public LogFolders {
  protected:
    static std::filesystem::path In(const TempFolder& folder) { return folder.Path() / L"FcoeAgnt.txt"; }
    static void Write(const std::filesystem::path& file, const std::string& text, int secondsAgo = 0) {
        std::ofstream(file, std::ios::binary) << text;
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() -
                                                   std::chrono::seconds(secondsAgo));
    }
    static std::string Utf8(const std::filesystem::path& path) { return fcoectl::ToUtf8(path.wstring()); }
};

} // namespace

TEST(LogRequests, AreADocument) {
    const auto document = LogOfSample({"requests", "--json"}).Json();
    EXPECT_EQ("fcoectl/log-requests", document["schema"]);
    EXPECT_EQ(true, document["complete"]);
    EXPECT_EQ(70, document["lines"]);
    EXPECT_EQ(SampleText().size(), document["bytes"]);
    EXPECT_EQ(0, document["unreadable_lines"]);
    EXPECT_EQ(false, document["cut"]);
    EXPECT_EQ(3, document["total"]);
    ASSERT_EQ(3u, document["requests"].size());
    EXPECT_EQ("EnumerateVLANs", document["requests"][1]["operation"]);
    EXPECT_EQ("17:32:07.127", document["requests"][1]["time"]);
    EXPECT_EQ(552, document["requests"][1]["process"]);
    EXPECT_EQ(1, document["requests"][1]["problems"]);
    EXPECT_EQ(40.6336, document["requests"][1]["milliseconds"]);
}

TEST(LogRequests, AreWhatLogAloneMeans) {
    const std::string expected = LogOfSample({"requests"}).out;
    EXPECT_THAT(expected, StartsWith("NO  TIME "));
    EXPECT_EQ(expected, LogOfSample({}).out);
    EXPECT_THAT(Log({"--help"}).out, AllOf(HasSubstr("requests"), HasSubstr("timeline")));
}

TEST(LogRequests, AreTheLastOnes) {
    for (const char* option : {"-n", "--count"}) {
        const Answer answer = LogOfSample({option, "1"});
        EXPECT_THAT(answer.out, AllOf(HasSubstr("Uninstall"), Not(HasSubstr("Initialize"))));
        EXPECT_EQ("fcoectl: The last 1 of 3 requests; --count shows more.\n", answer.err);
    }
    EXPECT_EQ(2, LogOfSample({"--count", "0"}).exit);
}

TEST(LogRequest, IsATreeOfItsCalls) {
    const auto document = LogOfSample({"request", "2", "--json"}).Json();
    EXPECT_EQ(2, document["request"]);
    EXPECT_EQ(1, document["problems"]);
    const auto& request = document["calls"][0];
    EXPECT_EQ("CQelFcoeAgentWin::EnumerateVLANs", request["operation"]);
    EXPECT_EQ(1, request["results"]["true"]);
    const auto& adapter = request["calls"][2];
    EXPECT_EQ("adapter 1", adapter["operation"]);
    const auto& list = adapter["calls"][1]["calls"][0]["calls"][1]["calls"][0];
    EXPECT_EQ("ORVAN_GetVlanIdList", list["function"]);
    EXPECT_EQ("vendor library", list["neighbour"]);
    EXPECT_EQ("busy (status 10)", list["answers"][0]["status_text"]);
    EXPECT_EQ(true, list["answers"][0]["problem"]);
}

TEST(LogRequest, ThatTheLogLacksIsRefused) {
    const Answer answer = LogOfSample({"request", "4"});
    EXPECT_EQ(9, answer.exit);
    EXPECT_THAT(answer.err, AllOf(HasSubstr("has no request 4."), HasSubstr("'fcoectl log requests' lists")));
    EXPECT_EQ(2, LogOfSample({"request"}).exit);
    EXPECT_EQ(2, LogOfSample({"request", "0"}).exit);
    EXPECT_EQ(2, LogOfSample({"request", "x"}).exit);
}

TEST(LogProblems, AreExplained) {
    const auto document = LogOfSample({"problems", "--json"}).Json();
    ASSERT_EQ(1u, document["problems"].size());
    const auto& problem = document["problems"][0];
    EXPECT_EQ("ORVAN_GetVlanIdList", problem["function"]);
    EXPECT_EQ(10, problem["status"]);
    EXPECT_EQ("EnumerateVLANs", problem["request"]);
    EXPECT_EQ(1, problem["adapter"]);
    EXPECT_EQ(55, problem["first_line"]);
    EXPECT_EQ("CHBAAPIInt::GetVlanIdList failed with error - 10", problem["text"]);
}

TEST(LogSlow, IsWhereTheTimeGoes) {
    const auto document = LogOfSample({"slow", "--json", "-n", "2"}).Json();
    ASSERT_EQ(2u, document["operations"].size());
    EXPECT_EQ("CHBAAPIInt::GetVLANList", document["operations"][0]["operation"]);
    EXPECT_EQ(40.1828, document["operations"][0]["own_milliseconds"]);
    EXPECT_EQ(2, document["operations"][0]["longest_request"]);
}

TEST(LogLists, HaveTheFormsOfLists) {
    EXPECT_EQ("number,operation,milliseconds\r\n2,EnumerateVLANs,40.634\r\n",
              LogOfSample({"requests", "-o", "csv", "--where", "problems=1", "--columns", "number,operation,ms"}).out);
    EXPECT_EQ("{\"operation\":\"CHBAAPIInt::GetVLANList\",\"average_milliseconds\":40.1828}\n",
              LogOfSample({"slow", "-n1", "-o", "jsonl", "--columns", "operation,average_milliseconds"}).out);
    EXPECT_EQ("ORVAN_GetVlanIdList\tbusy (status 10)\n",
              LogOfSample({"problems", "-o", "tsv", "--no-header", "--columns", "asked,answer"}).out);
    EXPECT_THAT(LogOfSample({"slow", "--sort", "-calls", "-n", "9"}).out, StartsWith("OWN MS  CALLS "));
    EXPECT_EQ(2, LogOfSample({"requests", "--follow", "-o", "csv"}).exit);
}

TEST(LogLists, TellOfProblemsForPeopleUnlessAListIsAskedFor) {
    EXPECT_THAT(LogOfSample({"problems"}).out, StartsWith("PROBLEM  "));
    for (const std::vector<std::string>& list : {std::vector<std::string>{"-o", "table"},
                                                 {"--columns", "asked"},
                                                 {"--where", "asked=*"},
                                                 {"--sort", "asked"}}) {
        std::vector<std::string> arguments{"problems"};
        arguments.insert(arguments.end(), list.begin(), list.end());
        EXPECT_THAT(LogOfSample(arguments).out, StartsWith("ASKED")) << list.front();
    }
    EXPECT_EQ("", LogOfSample({"problems", "-o", "csv", "--no-header", "--where", "answer=none"}).out);
}

TEST(LogLists, SayOfARequestThatItsEndIsMissing) {
    const TempFolder folder;
    const auto log = folder.Path() / L"log.txt";
    const std::string text = SampleText();
    std::ofstream(log, std::ios::binary) << text.substr(0, text.find("EXIT:  CQelFcoeAgentWin::EnumerateVLANs"));
    const auto listed = [&](const char* form) {
        return Log({"requests", "--file", log.string(), "-o", form, "--where", "number=2", "--columns",
                    "result,finished"})
            .out;
    };
    EXPECT_THAT(listed("csv"), HasSubstr("unfinished,no"));
    EXPECT_EQ("{\"result\":\"\",\"finished\":false}\n", listed("jsonl"));
}

TEST(LogTimeline, IsWrittenToTheOutputOrAFile) {
    const TempFolder folder;
    const auto file = folder.Path() / L"trace.json";
    const Answer whole = LogOfSample({"timeline"});
    EXPECT_EQ(65u, whole.Json()["traceEvents"].size());
    const Answer written = LogOfSample({"timeline", "--output", file.string()});
    EXPECT_EQ(0, written.exit) << written.err;
    EXPECT_THAT(written.out, StartsWith("Wrote 65 events to "));
    EXPECT_EQ(whole.out, ReadFileBytes(file));
    const auto document = LogOfSample({"timeline", "--output", file.string(), "--json"}).Json();
    EXPECT_EQ(65, document["events"]);
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder.Path()), {})) << "nothing is left beside it";
}

TEST(LogTimeline, ThatCannotBeWrittenLeavesTheFileThatWasThere) {
    const TempFolder folder;
    EXPECT_EQ(7, LogOfSample({"timeline", "--output", (folder.Path() / L"no" / L"t.json").string()}).exit);
    const auto file = folder.Path() / L"t.json";
    std::ofstream(file) << "before";
    EXPECT_EQ(9, Log({"timeline", "--file", "missing.txt", "--output", file.string()}).exit);
    EXPECT_EQ("before", ReadFileBytes(file));
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
    EXPECT_EQ(2, LogOfSample({"timeline", "--json"}).exit) << "two documents on one output";
}

TEST(LogTimeline, HasStandInsWithMask) {
    const TempFolder folder;
    const std::string id = "{0B6C7E1A-5D24-4F8B-9C11-000000000001}";
    const auto log = folder.Path() / L"log.txt";
    std::ofstream(log, std::ios::binary)
        << SampleText() << "FCOEAGENT\tPID:228\tTID:22c\t17:32:07.170\t(1)\tTIER 1\t\tUnable to get the HBA for " << id
        << "\r\n";
    const auto file = folder.Path() / L"t.json";
    const auto written = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"timeline", "--file", log.string(), "--output", file.string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(0, Log(arguments).exit);
        return ReadFileBytes(file);
    };
    EXPECT_THAT(written({}), HasSubstr(id));
    EXPECT_THAT(written({"--mask"}), AllOf(HasSubstr("Unable to get the HBA for {"), Not(HasSubstr(id))));
}

TEST_F(LogFiles, TheOneThatWasWrittenLastIsRead) {
    Write(In(registered), SampleText(), 10);
    EXPECT_EQ(Utf8(In(registered)), Log({"--json"}).Json()["file"]);
    Write(In(temporary), SampleText(), 5);
    EXPECT_EQ(Utf8(In(temporary)), Log({"--json"}).Json()["file"]);
    Write(In(registered), SampleText(), 1);
    EXPECT_EQ(Utf8(In(registered)), Log({"--json"}).Json()["file"]);
}

TEST_F(LogFiles, ThatAreMissingAreNamedWithTheReason) {
    const Answer answer = Log({});
    EXPECT_EQ(9, answer.exit);
    EXPECT_THAT(answer.err,
                AllOf(HasSubstr("There is no log: neither " + Utf8(In(registered))), HasSubstr(Utf8(In(temporary)))));
    hive.Set(SUITE, L"TRACE", 0);
    EXPECT_THAT(Log({"problems"}).err, HasSubstr("\"TRACE\" is 0"));
    const auto document = Log({"--file", "missing.txt", "--json"}).Json();
    EXPECT_EQ("log_unreadable", document["error"]["name"]);
    EXPECT_EQ(0u, document["requests"].size());
}

TEST_F(LogFiles, WithoutARequestAreSaidToBeSo) {
    Write(In(registered), "");
    EXPECT_THAT(Log({}).err, HasSubstr("is empty."));
    Write(In(registered), "some\r\ntext\r\n");
    EXPECT_THAT(Log({}).err, HasSubstr("is no log of the agent."));
    Write(In(registered), "cut\r\n" + SampleText());
    EXPECT_THAT(Log({}).err, HasSubstr("1 of the 71 lines are cut, torn or of another form."));
    EXPECT_EQ(0, Log({}).exit);
}

TEST_F(LogFiles, AreFollowedUntilEnoughRequestsEnded) {
    const std::string text = SampleText();
    const std::size_t half = text.find("ENTRY:  CQelFcoeAgentWin::Uninstall");
    Write(In(registered), text.substr(0, half));
    Answer answer;
    std::thread reader([&] { answer = Log({"--follow", "--count", "3"}); });
    std::ofstream(In(registered), std::ios::binary | std::ios::app) << text.substr(half);
    reader.join();
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(3, std::count(answer.out.begin(), answer.out.end(), '\n')) << answer.out;
    EXPECT_THAT(answer.out, AllOf(HasSubstr("Initialize"), HasSubstr("EnumerateVLANs"), HasSubstr("1 problem\n"),
                                  HasSubstr("Uninstall")));
    EXPECT_EQ(2, Log({"--follow", "--json"}).exit);
}
