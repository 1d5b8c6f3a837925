// The `schema` command. That schemas fit what is written, tests/schemas shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fcoectl/Host.h"
#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/Commands.h"

using testing::HasSubstr;

namespace {

Answer Schema(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "schema");
    return Host().RunPlain(arguments);
}

} // namespace

TEST(Schema, WithoutAKindListsOneForEachCommandAndForAWrongCommandLine) {
    std::string kinds;
    for (const auto& command : fcoectl::Commands()) {
        std::string kind = command.name;
        if (const auto blank = kind.find(' '); blank != std::string::npos)
            kind[blank] = '-';
        kinds += kind + '\n';
    }
    const Answer answer = Schema({});
    EXPECT_EQ(kinds + "usage\n", answer.out);
    EXPECT_EQ(0, answer.exit);
    EXPECT_EQ(fcoectl::Commands().size() + 1, Schema({"--json"}).Json()["kinds"].size());
}

TEST(Schema, OfTwoWordsIsNamedAsTheCommandOrAsItsDocuments) {
    const auto schema = Schema({"vport-create"}).Json();
    EXPECT_EQ("fcoectl/vport-create", schema["properties"]["schema"]["const"]);
    EXPECT_EQ(schema, Schema({"vport", "create"}).Json());
    EXPECT_EQ(schema, Schema({"vport", "create", "--json"}).Json()["json_schema"]);
}

TEST(Schema, OfAListHasItsColumns) {
    const auto schema = Schema({"vlans"}).Json();
    EXPECT_EQ("#/$defs/row", schema["properties"]["vlans"]["items"]["$ref"]);
    const auto& row = schema["$defs"]["row"]["properties"];
    EXPECT_EQ(6u, row.size());
    EXPECT_EQ("integer", row["vlan_id"]["type"]);
    EXPECT_EQ("string", row["state"]["type"]);
    EXPECT_EQ("VLAN ID", row["vlan_id"]["title"]);
}

TEST(Schema, OfNothingThatThereIsIsRefused) {
    const Answer answer = Schema({"vport", "rename"});
    EXPECT_EQ(static_cast<int>(fcoectl::Exit::Usage), answer.exit);
    EXPECT_EQ("", answer.out);
    EXPECT_THAT(answer.err, HasSubstr("There is no document of the kind 'vport-rename'."));
    EXPECT_THAT(answer.err, HasSubstr("'fcoectl schema' lists the kinds."));
}
