// Which rows and columns are shown, in what order.
#include "tools/fcoectl/Query.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fcoectl;
using testing::HasSubstr;

namespace {

const SheetColumns COLUMNS{{"second_id", "NAME", false, Format::Plain, 2},
                           {"fc_id", "FC ID", true, Format::Hex, 0},
                           {"lun", "LUN", true, Format::Plain, 1}};

Sheet Disks() {
    return {COLUMNS,
            {{"disk 10", 0x010A00, 3}, {"Disk 9", 0x020B00, 3}, {"disk 9", 0x000001, nullptr}, {"\xC3\x84", 7, -1}}};
}

// The first column's texts, after arranging.
std::vector<std::string> Names(const std::string& sort, const std::vector<std::string>& where) {
    std::vector<std::string> names;
    for (const auto& row : Arranged(Disks(), ParseQuery("second_id", sort, where, COLUMNS), Form::Table).rows)
        names.push_back(row.front());
    return names;
}

using Texts = std::vector<std::string>;

std::vector<std::string> Keys(const std::string& columns, Form form) {
    std::vector<std::string> keys;
    for (const SheetColumn& column : Arranged(Disks(), ParseQuery(columns, "", {}, COLUMNS), form).columns)
        keys.push_back(column.key);
    return keys;
}

std::string Refused(const std::string& columns, const std::vector<std::string>& where) {
    try {
        ParseQuery(columns, "", where, COLUMNS);
    } catch (const std::invalid_argument& problem) {
        return problem.what();
    }
    return "";
}

} // namespace

TEST(Columns, OfATableHaveTheirPlaces) {
    EXPECT_EQ((Texts{"lun", "second_id"}), Keys("", Form::Table));
    for (const Form form : {Form::Long, Form::Csv, Form::Tsv, Form::Json, Form::JsonLines})
        EXPECT_EQ((Texts{"second_id", "fc_id", "lun"}), Keys("", form));
}

TEST(Columns, AreNamedByKeyOrTitle) {
    EXPECT_EQ((Texts{"fc_id", "second_id", "fc_id"}), Keys("fc_id,Name,fc id", Form::Table));
    EXPECT_EQ((Texts{"fc_id"}), Keys("FC-ID", Form::Csv));
    EXPECT_EQ("There is no column 'nmae'. There are: second_id, fc_id, lun.", Refused("nmae", {}));
    EXPECT_THAT(Refused("lum", {}), HasSubstr("'lum'; did you mean 'lun'? There are: "));
    EXPECT_NE("", Refused("lun,", {}));
}

TEST(Sort, KnowsNumbersInTexts) {
    EXPECT_EQ((Texts{"Disk 9", "disk 9", "disk 10", "\xC3\x84"}), Names("name", {})) << "equal ones as they were";
    EXPECT_EQ((Texts{"\xC3\x84", "disk 10", "Disk 9", "disk 9"}), Names("-name", {}));
}

TEST(Sort, HasSeveralKeysAndBothDirections) {
    EXPECT_EQ((Texts{"disk 9", "\xC3\x84", "disk 10", "Disk 9"}), Names("fc_id", {}));
    EXPECT_EQ((Texts{"Disk 9", "disk 10", "\xC3\x84", "disk 9"}), Names("-lun,-fc_id", {}));
}

TEST(Where, IsAGlobInAnyLetterCase) {
    EXPECT_EQ((Texts{"Disk 9", "disk 9"}), Names("", {"name=DISK ?"}));
    EXPECT_EQ((Texts{"disk 10", "Disk 9", "disk 9"}), Names("", {"name=d*"}));
    EXPECT_EQ((Texts{"\xC3\x84"}), Names("", {"name=\xC3\xA4"}));
    EXPECT_EQ((Texts{}), Names("", {"name=isk"}));
}

TEST(Where, AllConditionsMustHold) {
    EXPECT_EQ((Texts{"Disk 9"}), Names("", {"name=disk*", "lun=3", "fc_id=0x02*"}));
}

TEST(Where, NumbersMatchAsShownAndAsInJson) {
    EXPECT_EQ((Texts{"disk 10"}), Names("", {"fc_id=0x010a00"}));
    EXPECT_EQ((Texts{"disk 10"}), Names("", {"fc_id=68096"}));
    EXPECT_EQ((Texts{"disk 9"}), Names("", {"lun="})) << "nothing";
}

TEST(Where, NeedsAColumnAndAValue) {
    EXPECT_THAT(Refused("", {"name"}), HasSubstr("COLUMN=VALUE"));
    EXPECT_THAT(Refused("", {"=x"}), HasSubstr("There is no column ''"));
}

TEST(Glob, MatchesTheWholeText) {
    for (const auto& [pattern, text] :
         {std::pair{"", ""}, {"*", ""}, {"a*b*c", "aXbXbXc"}, {"*b", "abb"}, {"??", "ab"}, {"**", "x"}, {"a*", "a"}})
        EXPECT_TRUE(MatchesGlob(pattern, text)) << pattern << ' ' << text;
    for (const auto& [pattern, text] :
         {std::pair{"", "a"}, {"?", ""}, {"a", "ab"}, {"a*b", "abc"}, {"*a?", "aba"}, {"b*", "ab"}})
        EXPECT_FALSE(MatchesGlob(pattern, text)) << pattern << ' ' << text;
}
