// The command line and the help.
#include <algorithm>
#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/TestData.h"
#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Examples.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::vector<std::string> Words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

Answer Typed(const std::string& commandLine) {
    return Host().RunPlain(Words(commandLine));
}

std::vector<std::string> CommandNames() {
    std::vector<std::string> names;
    for (const auto& command : fcoectl::Commands())
        names.emplace_back(command.name);
    return names;
}

bool TakesAgent(std::string_view name) {
    const auto found = std::ranges::find(fcoectl::Commands(), name, &fcoectl::Command::name);
    return found == fcoectl::Commands().end() || (found->takes & fcoectl::TAKES_AGENT);
}

// The process's current folder while it lives.
class InFolder {
  public:
    explicit InFolder(const std::filesystem::path& folder) : m_before(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~InFolder() { std::filesystem::current_path(m_before); }

  private:
    std::filesystem::path m_before;
};

std::string TestName(std::string name) {
    for (char& c : name)
        if (c == ' ')
            c = '_';
    return name.empty() ? "main" : name;
}

} // namespace

class Help : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Commands, Help, testing::ValuesIn(CommandNames()),
                         [](const auto& info) { return TestName(info.param); });

TEST_P(Help, HasPurposeUsageOptionsAndExitCodes) {
    const Answer answer = Typed(GetParam() + " --help");
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ("", answer.err);
    EXPECT_THAT(answer.out, HasSubstr("\nUsage: fcoectl " + GetParam()));
    EXPECT_THAT(answer.out, HasSubstr("\nOutput:\n  --json "));
    EXPECT_THAT(answer.out, HasSubstr("\nExit codes:\n   0  "));
    EXPECT_THAT(answer.out, Not(HasSubstr("\n\n\n")));
}

TEST_P(Help, EveryOptionButHelpTellsItsDefault) {
    std::istringstream help(Typed(GetParam() + " --help").out);
    int options = 0;
    for (std::string line; std::getline(help, line) && line != "Exit codes:";)
        if (line.starts_with("  -") && !line.starts_with("  -h")) {
            ++options;
            EXPECT_THAT(line, HasSubstr("(default: "));
        }
    EXPECT_GT(options, 0);
}

TEST_P(Help, UsageErrorIsTwoLinesWithTheHint) {
    const Answer answer = Typed(GetParam() + " --nonsense");
    EXPECT_EQ(2, answer.exit);
    EXPECT_EQ("", answer.out);
    EXPECT_EQ(2, std::count(answer.err.begin(), answer.err.end(), '\n')) << answer.err;
    EXPECT_TRUE(answer.err.ends_with("Try 'fcoectl " + GetParam() + " --help'.\n")) << answer.err;
}

class HelpExample : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Commands, HelpExample, testing::ValuesIn([] {
                             auto names = CommandNames();
                             // Their output is long, or depends on the machine.
                             for (const char* name : {"version", "doctor", "report", "diagnose", "record", "metrics",
                                                      "help", "completion", "man", "schema", "log timeline"})
                                 std::erase(names, name);
                             names.emplace_back(); // of the program itself
                             return names;
                         }()),
                         [](const auto& info) { return TestName(info.param); });

TEST_P(HelpExample, IsWhatTheCommandPrints) {
    const fcoectl::Example* example = fcoectl::FindExample(GetParam());
    ASSERT_NE(nullptr, example);
    std::vector<std::string> arguments = Words(std::string(example->command));
    ASSERT_EQ("fcoectl", arguments.front());
    arguments.erase(arguments.begin());
    Host host;
    const InFolder folder(TestData() / "log");
    const Answer answer = TakesAgent(GetParam()) ? host.Run(arguments) : host.RunPlain(arguments);
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(example->output, answer.out);
    EXPECT_THAT(Typed(GetParam() + " --help").out, HasSubstr("\nExample:\n  > " + std::string(example->command)));
}

TEST(MainHelp, TeachesTheProgram) {
    const Answer answer = Typed("--help");
    EXPECT_EQ(0, answer.exit);
    for (const char* part : {"Usage: fcoectl [OPTIONS] COMMAND\n", "\nCommands:\n", "--adapter ADAPTER", "--json",
                             "--agent FILE", "(default: all)", "\nExit codes:\n", "\nExample:\n  > fcoectl tree\n"})
        EXPECT_THAT(answer.out, HasSubstr(part));
    for (const auto& exit : fcoectl::ExitCodes())
        EXPECT_THAT(answer.out, HasSubstr(std::to_string(static_cast<int>(exit.value)) + "  " + exit.meaning));
}

TEST(MainHelp, CommandsListTheirOwnExitCodes) {
    const auto codes = [](const std::string& command) {
        std::istringstream help(Typed(command + " --help").out);
        std::string line;
        while (std::getline(help, line) && line != "Exit codes:")
            ;
        std::vector<int> numbers;
        while (std::getline(help, line) && !line.empty())
            numbers.push_back(std::stoi(line));
        return numbers;
    };
    using Codes = std::vector<int>;
    EXPECT_EQ((Codes{0, 1, 2, 3, 4, 5, 6, 7, 8}), codes("ports"));
    EXPECT_EQ((Codes{0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12, 15, 16, 17}), codes("vport create"));
    EXPECT_EQ((Codes{0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 13, 14, 17}), codes("vport delete"));
    EXPECT_EQ((Codes{0, 2, 3, 4, 5, 6, 7, 8, 15}), codes("wwpn"));
    EXPECT_EQ((Codes{0, 1, 2, 3, 4, 5, 6, 7, 8, 16}), codes("rescan"));
    EXPECT_EQ((Codes{0, 2, 7}), codes("explain"));
}

TEST(Options, MayStandBeforeTheCommand) {
    const std::string expected = Host(L"two").Run({"vport", "list", "--json", "--adapter", "2"}).out;
    EXPECT_EQ(expected, Host(L"two").Run({"--json", "--adapter", "2", "vport", "list"}).out);
    EXPECT_EQ(expected, Host(L"two").Run({"--adapter=2", "vport", "--json", "list"}).out);
    EXPECT_THAT(Host(L"grow").Run({"--watch", "0.1", "stats", "--count", "1"}).out, HasSubstr("After 0.0 s"));
    EXPECT_THAT(Host(L"grow").Run({"--count", "1", "--watch", "stats"}).out, HasSubstr("After 0.0 s"));
    EXPECT_EQ("fcoectl: A command is needed.\nTry 'fcoectl vport --help'.\n", Typed("--ascii vport").err);
    EXPECT_EQ(2, Typed("--ascii ports").exit) << "not of this command";
}

TEST(Usage, UnknownAndMissingCommands) {
    EXPECT_EQ("fcoectl: There is no command 'hba'; did you mean 'hbas'?\nTry 'fcoectl --help'.\n", Typed("hba").err);
    EXPECT_EQ("fcoectl: There is no command 'vport make'.\nTry 'fcoectl vport --help'.\n", Typed("vport make").err);
    EXPECT_EQ("fcoectl: A command is needed.\nTry 'fcoectl --help'.\n", Typed("").err);
    EXPECT_EQ("fcoectl: A command is needed.\nTry 'fcoectl vport --help'.\n", Typed("vport").err);
    EXPECT_EQ(2, Typed("").exit);
}

TEST(Usage, MistypedNamesAreRecognized) {
    EXPECT_EQ("fcoectl: There is no command 'vport lst'; did you mean 'list'?\nTry 'fcoectl vport --help'.\n",
              Typed("vport lst").err);
    EXPECT_EQ("fcoectl: There is no command 'nonsense'.\nTry 'fcoectl --help'.\n", Typed("nonsense").err);
    EXPECT_THAT(Typed("ports --adaptor=1").err, StartsWith("fcoectl: 'ports' has no option '--adaptor'; did you mean "
                                                           "'--adapter'?\nTry 'fcoectl ports --help'."));
    EXPECT_THAT(Typed("tree --asci").err, HasSubstr("did you mean '--ascii'?"));
    EXPECT_THAT(Typed("ports --ascii").err, StartsWith("fcoectl: 'ports' has no option '--ascii'.\n"));
    EXPECT_THAT(Typed("--adaptor 1 ports").err, StartsWith("fcoectl: There is no option '--adaptor'; did you mean"));
}

TEST(Usage, ArgumentsThatAreTooManyStandInTheirOrder) {
    EXPECT_THAT(Typed("ports one two three").err,
                StartsWith("fcoectl: These arguments were not expected: one two three\n"));
    EXPECT_THAT(Typed("ports one").err, StartsWith("fcoectl: This argument was not expected: one\n"));
}

TEST(Usage, ASlashBeginsAFilesNameAndNoOption) {
    EXPECT_EQ(7, Host().Run({"report", "/nowhere at all/page.html"}).exit);
    EXPECT_THAT(Host().Run({"vlans", "/json"}).err, StartsWith("fcoectl: This argument was not expected: /json\n"));
}

TEST(Usage, WhatPowerShellMakesOfBracesIsExplained) {
    EXPECT_THAT(Typed("hbas --adapter -encodedCommand YQ== -inputFormat xml -outputFormat text").err,
                HasSubstr("PowerShell takes braces for a script"));
}

TEST(HelpCommand, PrintsWhatTheOptionPrints) {
    EXPECT_EQ(Typed("--help").out, Typed("help").out);
    EXPECT_EQ(Typed("vport create --help").out, Typed("help vport create").out);
    EXPECT_EQ(Typed("vport --help").out, Typed("help vport").out);
    EXPECT_EQ(Typed("ports --help").out, Typed("help ports --json").Json()["text"]);
    const Answer unknown = Typed("help prots");
    EXPECT_EQ(2, unknown.exit);
    EXPECT_EQ("fcoectl: There is no command 'prots'; did you mean 'ports'?\n  Try 'fcoectl --help'.\n", unknown.err);
}

TEST(Usage, WrongValuesOfWatch) {
    for (const char* value : {"0", "-1", "x", "5s", "nan", "1e9"})
        EXPECT_EQ(2, Typed(std::string("stats --watch=") + value).exit) << value;
    EXPECT_EQ(2, Typed("stats --count 2").exit);
    EXPECT_EQ(2, Typed("stats --watch --count 0").exit);
    EXPECT_EQ(2, Typed("stats --watch --count 2x").exit);
    EXPECT_THAT(Typed("stats --watch --json").out, HasSubstr("needs --count"));
    EXPECT_EQ(2, Typed("stats --watch --long").exit);
}

TEST(Usage, InJsonIsADocument) {
    for (const char* line : {"nonsense --json", "--json", "ports --json --nonsense", "vport delete --json"}) {
        const Answer answer = Typed(line);
        EXPECT_EQ(2, answer.exit) << line;
        EXPECT_EQ("", answer.err) << line;
        const auto document = answer.Json();
        EXPECT_EQ("fcoectl/usage", document["schema"]) << line;
        EXPECT_EQ("usage", document["error"]["name"]) << line;
    }
}
