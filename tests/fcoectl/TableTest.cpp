#include "tools/fcoectl/Table.h"

#include <sstream>

#include <gtest/gtest.h>

using namespace fcoectl;

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

TEST(Table, TextLeftNumbersRightTwoBlanksBetween) {
    Table table({{"NAME"}, {"SIZE", Align::Right}, {"STATE"}});
    table.Add({{"a"}, {"7"}, {"on"}});
    table.Add({{"longer name"}, {"123456"}, {"off"}});
    EXPECT_EQ("NAME           SIZE  STATE\n"
              "-----------  ------  -----\n"
              "a                 7  on\n"
              "longer name  123456  off\n",
              table.Text());
}

TEST(Table, EmptyCellIsADash) {
    Table table({{"A"}, {"B", Align::Right}});
    table.Add({{""}, {""}});
    EXPECT_EQ("A  B\n-  -\n-  -\n", table.Text());
}

TEST(Table, WithoutRowsItIsHeaderAndDashes) {
    EXPECT_EQ("NAME\n----\n", Table(std::vector<Column>{{"NAME"}}).Text());
}

TEST(Table, NothingIsEverCut) {
    const std::string name(5000, 'x');
    Table table({{"NAME"}, {"END"}});
    table.Add({{name}, {"e"}});
    EXPECT_EQ(name + "  e", Lines(table.Text())[2]);
}

TEST(Table, NonAsciiTextKeepsTheColumns) {
    Table table({{"NAME"}, {"END"}});
    table.Add({{"Gr\xC3\xB6\xC3\x9F\xC3\xA9"}, {"e"}});
    table.Add({{"Groessen"}, {"e"}});
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\xC3\xA9     e", Lines(table.Text())[2]);
    EXPECT_EQ("Groessen  e", Lines(table.Text())[3]);
}

TEST(Table, LineBreakInANameStaysOnItsLine) {
    Table table({{"NAME"}});
    table.Add({{"two\r\nlines"}});
    EXPECT_EQ("two\\x0D\\x0Alines", Lines(table.Text()).at(2));
}

TEST(Table, WideCharactersKeepTheColumns) {
    Table table({{"NAME"}, {"END"}});
    table.Add({{"\xE5\x85\x89\xE7\xBA\xA4"}, {"e"}}); // two ideographs
    table.Add({{"abcd"}, {"e"}});
    EXPECT_EQ("NAME  END\n----  ---\n\xE5\x85\x89\xE7\xBA\xA4  e\nabcd  e\n", table.Text());
}

TEST(Table, WithoutAHeaderOnlyRowsCount) {
    Table table({{"A LONG TITLE"}, {"B"}});
    table.Add({{"a"}, {"b"}});
    EXPECT_EQ("a  b\n", table.Text(false));
}

TEST(Table, ColoursTakeNoRoom) {
    Table table({{"A"}, {"B"}});
    table.Add({{"down", Tone::Alarm}, {"x"}});
    table.Add({{"up"}, {"x"}});
    EXPECT_EQ("A     B\n----  -\n\x1B[31mdown\x1B[0m  x\nup    x\n", table.Text(true, true));
    EXPECT_EQ("A     B\n----  -\ndown  x\nup    x\n", table.Text());
}
