// Changing a document in its text.
#include <gtest/gtest.h>

#include "simulator/simctl/JsonEdit.h"

namespace {

using nlohmann::ordered_json;
using simctl::EditJson;

constexpr char TEXT[] = R"({
    // what the system has
    "os_dcb": false, // nothing
    "adapters": [
        {"mac": "02", "vlans": []}, // the first
        {"mac": "03"} // the second
    ], /* faults follow */
    "faults": [1, 2, 3]
}
)";

std::string Edited(const std::string& pointer, const char* value, const std::string& text = TEXT) {
    return EditJson(text, pointer, ordered_json::parse(value));
}

// The text with one piece of it replaced.
std::string With(const std::string& piece, const std::string& by, std::string text = TEXT) {
    const auto at = text.find(piece);
    EXPECT_NE(std::string::npos, at) << piece;
    return text.replace(at, piece.size(), by);
}

std::string Refusal(const std::string& pointer, const char* value) {
    try {
        Edited(pointer, value);
        return "not refused";
    } catch (const simctl::EditError& error) {
        return error.what();
    }
}

} // namespace

TEST(JsonEdit, ReplacesAValueAlone) {
    EXPECT_EQ(With("\"os_dcb\": false", "\"os_dcb\": true"), Edited("/os_dcb", "true"));
    EXPECT_EQ(With("1, 2, 3", "1, \"x\", 3"), Edited("/faults/1", "\"x\""));
    EXPECT_EQ(With("[1, 2, 3]", "5"), Edited("/faults", "5"));
    EXPECT_EQ(With("\"03\"", "\"04\""), Edited("/adapters/1/mac", "\"04\""));
}

TEST(JsonEdit, AddsAMember) {
    EXPECT_EQ(With("\"03\"}", "\"03\", \"x\": 1}"), Edited("/adapters/1/x", "1"));
    EXPECT_EQ(With("[1, 2, 3]\n", "[1, 2, 3],\n    \"x/y~\": \"new\"\n"), Edited("/x~1y~0", "\"new\""));
}

TEST(JsonEdit, AddsAnEntry) {
    EXPECT_EQ(With("3]", "3, 4]"), Edited("/faults/-", "4"));
    EXPECT_EQ(With("3]", "3, 4]"), Edited("/faults/3", "4"));
    EXPECT_EQ(With("[]", "[7]"), Edited("/adapters/0/vlans/-", "7"));
    EXPECT_EQ(With("{\"mac\": \"03\"} // the second\n", "{\"mac\": \"03\"}, // the second\n        5\n"),
              Edited("/adapters/-", "5"));
}

TEST(JsonEdit, MergesObjects) {
    EXPECT_EQ(With("{\"mac\": \"03\"}", "{\"mac\": \"05\", \"x\": 1}"),
              Edited("/adapters/1", R"({"mac": "05", "x": 1, "y": null})"));
    EXPECT_EQ(With("\"os_dcb\": false", "\"os_dcb\": true"), Edited("", R"({"os_dcb": true})"));
    EXPECT_EQ(With("{\"mac\": \"02\", \"vlans\": []}", "{\"vlans\": []}"), Edited("/adapters/0", R"({"mac": null})"));
}

TEST(JsonEdit, RemovesWithNull) {
    EXPECT_EQ(With("1, 2, 3", "1, 3"), Edited("/faults/1", "null"));
    EXPECT_EQ(With("1, 2, 3", "1, 2"), Edited("/faults/2", "null"));
    EXPECT_EQ(With("{\"mac\": \"03\"}", "{}"), Edited("/adapters/1/mac", "null"));
    const auto withoutFaults = Edited("/faults", "null");
    EXPECT_NE(std::string::npos, withoutFaults.find("/* faults follow */"));
    EXPECT_EQ(std::string::npos, withoutFaults.find("\"faults\""));
    const auto withoutDcb = Edited("/os_dcb", "null");
    EXPECT_NE(std::string::npos, withoutDcb.find("// what the system has"));
    const auto withoutSecond = Edited("/adapters/1", "null");
    EXPECT_NE(std::string::npos, withoutSecond.find("// the first"));
}

TEST(JsonEdit, KeepsTheLineEnds) {
    const std::string text = "{\r\n    \"a\": 1\r\n}\r\n";
    EXPECT_EQ("{\r\n    \"a\": 1,\r\n    \"b\": {\r\n        \"c\": 2\r\n    }\r\n}\r\n",
              Edited("/b", R"({"c": 2})", text));
}

TEST(JsonEdit, RefusesWhatCannotBe) {
    EXPECT_EQ("there is no /nothing to add to", Refusal("/nothing/x", "1"));
    EXPECT_EQ("there is no /nothing to remove", Refusal("/nothing", "null"));
    EXPECT_EQ("/faults has 3 entries: write \"/faults/-\" to add one", Refusal("/faults/5", "1"));
    EXPECT_EQ("/os_dcb is no object and no list", Refusal("/os_dcb/x", "1"));
    EXPECT_EQ("\"faults\" is no JSON pointer: write one such as \"/adapters/0/port/state\"", Refusal("faults", "1"));
}

// Every value of a document with comments in all places, replaced and removed, and something added to each container:
// whatever the layout, the text says what was asked for (else it is refused), and keeps comments outside the value.
TEST(JsonEdit, KeepsCommentsInAllPlaces) {
    const std::string text =
        "/*1*/{/*2*/\"a\"/*3*/:/*4*/[/*5*/1/*6*/,//7\n2/*8*/]/*9*/,\n//10\n\"b\":{/*11*/\"c\":true}//12\n,"
        "\"d\":\"/*no*/\"/*13*/}//14";
    for (const char* pointer : {"/a", "/a/0", "/a/1", "/b", "/b/c", "/d"}) {
        for (const char* value : {"null", "7", "[]", "{\"n\": 1}"}) {
            const auto edited = Edited(pointer, value, text);
            for (const char* comment : {"/*1*/", "/*2*/", "/*9*/", "//10", "//12", "/*13*/", "//14"})
                EXPECT_NE(std::string::npos, edited.find(comment)) << pointer << " " << value << ": " << edited;
        }
    }
    for (const char* pointer : {"/a/-", "/b/new", "/new"}) {
        const auto edited = Edited(pointer, "7", text);
        for (int i = 1; i <= 14; ++i)
            EXPECT_NE(std::string::npos, edited.find(std::to_string(i))) << pointer << ": " << edited;
    }
}
