// A list in each of its forms.
#include "tools/fcoectl/Rendering.h"

#include <gtest/gtest.h>

using namespace fcoectl;

namespace {

Tone Red(const nlohmann::ordered_json&) {
    return Tone::Alarm;
}

Sheet List() {
    return {{{"name", "NAME", false, Format::Plain, 1, Red}, {"fc_id", "FC ID", true, Format::Hex, 2}},
            {{"a,\"b\"\tc\\\r\nd", 255}, {"\xC3\xA4", nullptr}}};
}

} // namespace

TEST(Csv, FollowsRfc4180) {
    EXPECT_EQ("name,fc_id\r\n\"a,\"\"b\"\"\tc\\\r\nd\",0x0000FF\r\n\xC3\xA4,\r\n", Rendered(List(), Form::Csv, {}));
    EXPECT_EQ("\"a,\"\"b\"\"\tc\\\r\nd\",0x0000FF\r\n\xC3\xA4,\r\n", Rendered(List(), Form::Csv, {false}));
}

TEST(Tsv, EscapesWhatWouldEndAFieldOrALine) {
    EXPECT_EQ("name\tfc_id\na,\"b\"\\tc\\\\\\r\\nd\t0x0000FF\n\xC3\xA4\t\n", Rendered(List(), Form::Tsv, {}));
    EXPECT_EQ("a,\"b\"\\tc\\\\\\r\\nd\t0x0000FF\n\xC3\xA4\t\n", Rendered(List(), Form::Tsv, {false}));
}

TEST(JsonLines, AreAsciiObjects) {
    EXPECT_EQ("{\"name\":\"a,\\\"b\\\"\\tc\\\\\\r\\nd\",\"fc_id\":255}\n{\"name\":\"\\u00e4\",\"fc_id\":null}\n",
              Rendered(List(), Form::JsonLines, {}));
}

TEST(Json, IsOneList) {
    EXPECT_EQ(JsonOf(List()), nlohmann::ordered_json::parse(Rendered(List(), Form::Json, {})));
}

TEST(Long, HasALineAField) {
    EXPECT_EQ("NAME   a,\"b\"\\x09c\\\\x0D\\x0Ad\nFC ID  0x0000FF\n\nNAME   \xC3\xA4\nFC ID  -\n",
              Rendered(List(), Form::Long, {}));
}

TEST(TableForm, IsColouredWhenAsked) {
    const Sheet list{List().columns, {{"x", 1}}};
    EXPECT_EQ("NAME     FC ID\n----  --------\nx     0x000001\n", Rendered(list, Form::Table, {}));
    EXPECT_EQ("\x1B[31mx\x1B[0m  0x000001\n", Rendered(list, Form::Table, {false, true}));
}

TEST(Values, HaveTheirTexts) {
    EXPECT_EQ("1; 2", ValueText({1, 2}, Format::Plain));
    EXPECT_EQ("0x37000001", ValueText(0x37000001, Format::Code));
    EXPECT_EQ("255", ValueText(255, Format::Code));
    EXPECT_EQ("2.5", ValueText(2.52, Format::Rate));
    EXPECT_EQ("yes", ValueText(true, Format::Plain));
    EXPECT_EQ("", ValueText(nullptr, Format::Hex));
}
