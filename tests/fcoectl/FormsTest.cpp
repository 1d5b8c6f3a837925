// The forms of output, command by command.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tests/kit/TestData.h"
#include "tools/fcoectl/Commands.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::vector<std::string> Lists() {
    std::vector<std::string> names;
    for (const auto& command : fcoectl::Commands())
        if (command.columns)
            names.emplace_back(command.name);
    return names;
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

class Forms : public testing::TestWithParam<std::string> {
  protected:
    static Answer Run(std::vector<std::string> options) {
        std::istringstream words(GetParam());
        std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Host host(L"two");
        if (GetParam().starts_with("log "))
            arguments.insert(arguments.end(), {"--file", (TestData() / "log/FcoeAgnt.txt").string()});
        return GetParam() == "explain" || GetParam().starts_with("log ") ? host.RunPlain(arguments)
                                                                         : host.Run(arguments);
    }
    static nlohmann::ordered_json Elements(const std::vector<std::string>& options) {
        const auto document = Run(options).Json();
        for (const auto& command : fcoectl::Commands())
            if (command.name == GetParam())
                return document[command.list];
        return {};
    }
};

INSTANTIATE_TEST_SUITE_P(All, Forms, testing::ValuesIn(Lists()), [](const auto& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

TEST_P(Forms, ShowTheSameElements) {
    const auto elements = Elements({"--json"});
    ASSERT_FALSE(elements.empty());
    EXPECT_EQ(elements, Elements({"-o", "json"}));

    const auto lines = Lines(Run({"-o", "jsonl"}).out);
    ASSERT_EQ(elements.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(elements[i], nlohmann::ordered_json::parse(lines[i], nullptr, false));

    std::string header;
    for (const auto& [key, value] : elements[0].items())
        header += (header.empty() ? "" : "\t") + key;
    const auto rows = Lines(Run({"-o", "tsv"}).out);
    EXPECT_EQ(elements.size() + 1, rows.size());
    EXPECT_EQ(header, rows.front());
    EXPECT_EQ(rows[1], Lines(Run({"-o", "tsv", "--no-header"}).out).front());

    std::replace(header.begin(), header.end(), '\t', ',');
    EXPECT_THAT(Run({"-o", "csv"}).out, StartsWith(header + "\r\n"));
    EXPECT_EQ(Run({"-o", "long"}).out, Run({"--long"}).out);
    const auto table = Run({"--format", "table"}).out;
    if (GetParam() != "log problems") { // told for people when nothing else is asked for
        EXPECT_EQ(Run({}).out, table);
    }
    EXPECT_EQ(Lines(table).size(), Lines(Run({"--no-header"}).out).size() + 2);
}

TEST_P(Forms, HaveTheColumnsThatWereChosen) {
    const auto all = Elements({"--json"});
    const std::string key = all[0].begin().key();
    const auto chosen = Elements({"--json", "--columns", key});
    ASSERT_EQ(all.size(), chosen.size());
    EXPECT_EQ((nlohmann::ordered_json{{key, all[0][key]}}), chosen[0]);
    EXPECT_EQ(key, Lines(Run({"-o", "tsv", "--columns", key}).out).front());
}

TEST_P(Forms, AreSortedAndFiltered) {
    const auto all = Elements({"--json"});
    const std::string key = all[0].begin().key();
    const auto up = Elements({"--json", "--sort", key});
    const auto down = Elements({"--json", "--sort", "-" + key});
    EXPECT_EQ(up.front()[key], down.back()[key]);
    EXPECT_EQ(up.back()[key], down.front()[key]);
    EXPECT_EQ(0u, Elements({"--json", "--where", key + "=no such value"}).size());
    EXPECT_EQ(all, Elements({"--json", "--where", key + "=*", "--where=" + key + "=*"}));
}

TEST_P(Forms, RefuseWhatTheyDoNotKnow) {
    for (const auto& wrong : std::vector<std::vector<std::string>>{{"-o", "xml"},
                                                                   {"--columns", "nonsense"},
                                                                   {"--sort", "-nonsense"},
                                                                   {"--where", "nonsense=1"},
                                                                   {"--where", "nonsense"},
                                                                   {"--json", "--long"},
                                                                   {"--json", "-o", "csv"},
                                                                   {"--json", "--no-header"}}) {
        const Answer answer = Run(wrong);
        EXPECT_EQ(2, answer.exit) << wrong.back();
        EXPECT_THAT(answer.out + answer.err, HasSubstr(GetParam() + " --help")) << wrong.back();
    }
    EXPECT_EQ("fcoectl/usage", Run({"-o", "json", "--columns", "nonsense"}).Json()["schema"]);
}

TEST(Colours, AreForLinksThatAreDownAndForErrors) {
    Host host(L"two");
    for (const auto& [command, alarm] : {std::pair{"hbas", "pfc_mismatch"}, {"dcb", "Enable priority"}}) {
        host.colours = true;
        const std::string coloured = host.Run({command}).out;
        EXPECT_THAT(coloured, HasSubstr(std::string("\x1B[31m") + alarm)) << command;
        EXPECT_THAT(coloured, Not(HasSubstr("\x1B[31musable"))) << command;
        host.colours = false;
        EXPECT_EQ(std::string::npos, host.Run({command}).out.find('\x1B'));
    }
    host.colours = true;
    EXPECT_THAT(host.Run({"ports", "--adapter", "9"}).err, StartsWith("\x1B[31mfcoectl: The adapter '9'"));
    EXPECT_THAT(host.Run({"nonsense"}).err, StartsWith("\x1B[31mfcoectl: There is no command"));
    for (const char* form : {"csv", "tsv", "json", "jsonl"})
        EXPECT_EQ(std::string::npos, host.Run({"hbas", "-o", form}).out.find('\x1B'));
}

TEST(Watch, StreamsALineASample) {
    const Answer answer = Host(L"grow").Run({"stats", "--watch", "0.1", "--count", "2", "-o", "jsonl"});
    EXPECT_EQ(0, answer.exit);
    const auto lines = Lines(answer.out);
    ASSERT_EQ(2u, lines.size());
    const auto sample = nlohmann::ordered_json::parse(lines[1]);
    EXPECT_EQ(15u, sample["statistics"].size());
    EXPECT_NEAR(1000, sample["statistics"][0]["per_second"].get<double>() * sample["seconds"].get<double>(), 1);
}

TEST(Watch, StreamsEachSampleAtOnce) {
    Host host(L"hang:later"); // the third reading: two samples must have come by then
    const Answer answer = host.RunOnFakeAgent(L"stats --watch 0.1 -o jsonl --timeout 1");
    EXPECT_EQ(8, answer.exit);
    EXPECT_EQ(2u, Lines(answer.out).size());
}

TEST(Watch, HasOneHeaderInCsv) {
    const Answer answer =
        Host(L"grow").Run({"stats", "--watch", "0.1", "--count", "2", "-o", "csv", "--where", "label=Link failures"});
    const auto lines = Lines(answer.out);
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("seconds,device_id,second_id,label,value,per_second\r", lines[0]);
    EXPECT_THAT(lines[1], StartsWith("0.0,"));
}

TEST(Watch, ChoosesColumns) {
    EXPECT_THAT(Host(L"grow").Run({"stats", "--watch", "0.1", "--count", "1", "--columns", "per_second"}).out,
                StartsWith("After 0.0 s\nPER SECOND\n"));
    EXPECT_EQ(2, Host().Run({"stats", "--columns", "per_second"}).exit) << "there is none without --watch";
}
