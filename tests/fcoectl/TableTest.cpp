#include "tools/fcoectl/Table.h"

#include <sstream>

#include <gtest/gtest.h>

#include "tests/fcoectl/fakeagent/FakeRecords.h"

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
    table.Add({"a", "7", "on"});
    table.Add({"longer name", "123456", "off"});
    EXPECT_EQ("NAME           SIZE  STATE\n"
              "-----------  ------  -----\n"
              "a                 7  on\n"
              "longer name  123456  off\n",
              table.Text());
}

TEST(Table, EmptyCellIsADash) {
    Table table({{"A"}, {"B", Align::Right}});
    table.Add({"", ""});
    EXPECT_EQ("A  B\n-  -\n-  -\n", table.Text());
}

TEST(Table, WithoutRowsItIsHeaderAndDashes) {
    EXPECT_EQ("NAME\n----\n", Table(std::vector<Column>{{"NAME"}}).Text());
}

TEST(Table, NothingIsEverCut) {
    const std::string name(5000, 'x');
    Table table({{"NAME"}, {"END"}});
    table.Add({name, "e"});
    EXPECT_EQ(name + "  e", Lines(table.Text())[2]);
}

TEST(Table, NonAsciiTextKeepsTheColumns) {
    Table table({{"NAME"}, {"END"}});
    table.Add({"Gr\xC3\xB6\xC3\x9F\xC3\xA9", "e"});
    table.Add({"Groessen", "e"});
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\xC3\xA9     e", Lines(table.Text())[2]);
    EXPECT_EQ("Groessen  e", Lines(table.Text())[3]);
}

TEST(Table, LineBreakInANameStaysOnItsLine) {
    Table table({{"NAME"}});
    table.Add({"two\r\nlines"});
    EXPECT_EQ("two\\x0D\\x0Alines", Lines(table.Text()).at(2));
}

TEST(Table, HbasShowAllElevenFields) {
    EXPECT_EQ(11u, ColumnsOf<QEL_FCOE_HBA>().size());
    EXPECT_EQ(11u, CellsOf(MakeFakeRecords(1).hbas.front()).size());
}

TEST(Table, NumbersOfARecordAreRightAlignedAndTextsLeft) {
    const auto columns = ColumnsOf<QEL_FCOE_VLAN>();
    ASSERT_EQ("VLAN ID", columns[1].title);
    EXPECT_EQ(Align::Right, columns[1].align);
    EXPECT_EQ(Align::Left, columns[0].align);
}

TEST(Table, LeadingBlanksOfASerialAreKept) {
    QEL_FCOE_TARGET target;
    target.strSerial = L"  0042";
    EXPECT_NE(std::string::npos, TableOf(std::vector{target}).find("  0042"));
    EXPECT_EQ("  0042", CellsOf(target)[6]);
}

TEST(Blocks, ShowEveryFieldWithValuesInOneColumn) {
    const auto records = MakeFakeRecords(2).vlans;
    const auto lines = Lines(BlocksOf(std::vector{records[0], records[1]}));
    ASSERT_EQ(13u, lines.size()) << "six fields, an empty line, six fields";
    EXPECT_EQ("NAME        VLAN 1002", lines[0]);
    EXPECT_EQ("VLAN ID     1002", lines[1]);
    EXPECT_EQ("STATE CODE  1", lines[2]);
    EXPECT_EQ("", lines[6]);
    EXPECT_EQ("NAME        VLAN 20", lines[7]);
}
