// What of a timeline is refused, and where.
#include <gtest/gtest.h>

#include "simulator/topology/TopologyReader.h"
#include "tests/simulator/Moving.h"

namespace {

struct Refused {
    std::string steps;
    std::string message;
};

std::string Message(const std::string& text) {
    const auto problems = sim::ReadTopology(text).problems;
    return problems.empty() ? "" : problems.front().Message();
}

std::string Operation(const std::string& operation) {
    return AfterCalls(1, operation);
}

} // namespace

TEST(TimelineFormat, RefusesAStepThatIsNone) {
    const std::string last = "; did you mean";
    const Refused all[] = {
        {R"({"patch": []})", "/timeline/0: a step needs \"after_seconds\" or \"after_calls\""},
        {R"({"after_calls": 1, "after_seconds": 1, "patch": []})",
         "/timeline/0/after_calls: a step has either \"after_seconds\" or \"after_calls\""},
        {R"({"after_calls": 0, "patch": []})",
         "/timeline/0/after_calls: expected a number from 1 to 4294967295, found 0"},
        {AfterSeconds("0", ""), "/timeline/0/after_seconds: expected a number above 0, up to 31622400, found 0"},
        {AfterSeconds("\"1\"", ""),
         "/timeline/0/after_seconds: expected a number above 0, up to 31622400, found \"1\""},
        {R"({"after_seconds": 1, "function": "StartLock", "patch": []})",
         "/timeline/0/function: only a step with \"after_calls\" counts calls"},
        {R"({"after_calls": 1})", "/timeline/0: the key \"patch\" is missing"},
        {Operation(R"({"op": "swap", "path": ""})"), "/timeline/0/patch/0/op: expected one of \"add\", \"remove\", "
                                                     "\"replace\", \"move\", \"copy\", \"test\", found "
                                                     "\"swap\""},
        {Operation(R"({"op": "remove", "path": "adapters"})"),
         "/timeline/0/patch/0/path: expected a JSON pointer such as \"/adapters/0/port/state\", found \"adapters\""},
        {Operation(R"({"op": "remove", "path": "/a~2"})"),
         "/timeline/0/patch/0/path: expected a JSON pointer such as \"/adapters/0/port/state\", found \"/a~2\""},
        {Operation(R"({"op": "add", "path": "/os_dcb"})"), "/timeline/0/patch/0: the key \"value\" is missing"},
        {Operation(R"({"op": "remove", "path": "/os_dcb", "value": 1})"),
         "/timeline/0/patch/0/value: the operation \"remove\" has no \"value\""},
        {Operation(R"({"op": "copy", "path": "/os_dcb"})"), "/timeline/0/patch/0: the key \"from\" is missing"},
    };
    for (const auto& [steps, message] : all)
        EXPECT_EQ(message, Message(MovingAdapter(steps))) << steps;
}

TEST(TimelineFormat, RefusesAnOperationThatCannotBeApplied) {
    const std::string at = "/timeline/1/patch/1: cannot be applied: ";
    const Refused all[] = {
        {Replace("/adapters/7/port/state", "3"),
         "nothing is at /adapters/7/port/state; \"add\" adds it, or replaces it if it is there"},
        {R"({"op": "remove", "path": "/adapters/0/dcb"})", "nothing is at /adapters/0/dcb"},
        {R"({"op": "remove", "path": "/two\nlines"})", "nothing is at /two\\nlines"},
        {R"({"op": "move", "from": "/adapters/0/dcb", "path": "/x"})", "nothing is at /adapters/0/dcb"},
        {Add("/adapters/0/dcb/pfc", "[]"), "nothing is at /adapters/0/dcb"},
        {Add("/adapters/0/mac/x", "1"), "nothing can be added to /adapters/0/mac, which is \"02:05:7C:00:00:01\""},
        {Add("/adapters/2", "{}"), "the list at /adapters has 1 entries: write a place from 0 to 1, or \"-\""},
        {Add("/adapters/first", "{}"), "the list at /adapters has 1 entries: write a place from 0 to 1, or \"-\""},
        {R"({"op": "test", "path": "/adapters/0/port/state", "value": 7})",
         "the test fails: /adapters/0/port/state is 2"},
        {R"({"op": "remove", "path": ""})", "JSON pointer has no parent"},
    };
    for (const auto& [operation, message] : all)
        EXPECT_EQ(at + message,
                  Message(MovingAdapter(AfterSeconds("1", "") + "," +
                                        AfterCalls(1, Replace("/adapters/0/vlans/0/id", "2") + "," + operation))))
            << operation;
}

TEST(TimelineFormat, RefusesAStepThatLeavesAWrongTopology) {
    const std::string at = "/timeline/0/patch/1: leaves a wrong topology: ";
    const Refused all[] = {
        {Add("/adapters/0/port/state", "\"10B01\""),
         "/adapters/0/port/state: expected a number from 0 to 4294967295, found \"10B01\"; write \"0x10B01\""},
        {R"({"op": "remove", "path": "/adapters/0/mac"})", "/adapters/0: the key \"mac\" is missing"},
        {Add("/adapters/0/targets/-", "{}"), "/adapters/0/targets/1: the key \"port_wwn\" is missing"},
        {R"({"op": "copy", "from": "/adapters/0", "path": "/adapters/-"})",
         "/adapters/1/identifier: the same identifier as /adapters/0/identifier"},
        {Add("/timeline", "[]"), "/timeline: a step cannot change the timeline"},
        {Replace("", "5"), "/: expected an object, found 5"},
        {Add("/faults/-", R"({"function": "GetVersoin"})"),
         "/faults/0/function: expected the name of a simulated function such as \"GetVersion\", found \"GetVersoin\""},
    };
    for (const auto& [operation, message] : all)
        EXPECT_EQ(at + message,
                  Message(MovingAdapter(AfterCalls(1, Replace("/adapters/0/vlans/0/id", "2") + "," + operation))))
            << operation;
}

TEST(TimelineFormat, AStepsAdapterIsOneOfThatMoment) {
    const std::string other = R"(, "adapter": "{22222222-2222-4333-8444-555555555501}")";
    const std::string rename = Replace("/adapters/0/identifier", "\"{22222222-2222-4333-8444-555555555501}\"");
    EXPECT_EQ("", Message(MovingAdapter(AfterCalls(1, rename) + "," + AfterCalls(1, "", other))));
    EXPECT_EQ("/timeline/0/adapter: expected the identifier of an adapter of this topology as it is then, found "
              "\"{22222222-2222-4333-8444-555555555501}\"",
              Message(MovingAdapter(AfterCalls(1, "", other) + "," + AfterCalls(1, rename))));
}

TEST(TimelineFormat, StepsThatWouldBurstAreRefused) {
    std::string doubling = Add("/x", "[1]");
    for (int i = 0; i < 40; ++i)
        doubling += R"(,{"op": "copy", "from": "/x", "path": "/x/-"})";
    const std::string grows = "cannot be applied: the topology would grow beyond all measure";
    EXPECT_NE(std::string::npos, Message(MovingAdapter(AfterCalls(1, doubling))).find(grows));
    const std::string deep(10000, '['), close(10000, ']');
    EXPECT_EQ("/timeline/0/patch/0/value: the value lies deeper than any of a topology",
              Message(MovingAdapter(AfterCalls(1, Add("/x", deep + close)))));
    std::string path;
    for (int i = 0; i < 33; ++i)
        path += "/x";
    EXPECT_EQ("/timeline/0/patch/0: cannot be applied: no value of a topology lies as deep as " + path,
              Message(MovingAdapter(AfterCalls(1, Add(path.c_str(), "1")))));
}

TEST(TimelineFormat, WarnsOfWhatAStepMakesOdd) {
    const std::string odd = Replace("/adapters/0/vlans/0/id", "5000");
    const auto checked = sim::CheckTopology(MovingAdapter(
        AfterCalls(1, "") + "," + AfterCalls(1, odd) + "," + AfterCalls(1, Add("/os_dcb", "true")) + "," +
        AfterCalls(1, "", R"(, "function": "StartLock", "adapter": "{11111111-2222-4333-8444-555555555501}")")));
    EXPECT_TRUE(checked.reading.problems.empty());
    ASSERT_EQ(2u, checked.warnings.size());
    EXPECT_EQ("vlan_id", checked.warnings[0].code);
    EXPECT_EQ(
        "/timeline/1/patch: then /adapters/0/vlans/0/id: no VLAN has the identifier 5000; write one from 1 to 4094",
        checked.warnings[0].Message());
    EXPECT_EQ("never_counted", checked.warnings[1].code);
    EXPECT_EQ(
        "/timeline/3/adapter: StartLock is about no adapter, so the step is never taken, and none after it; leave "
        "\"adapter\" out",
        checked.warnings[1].Message());
}
