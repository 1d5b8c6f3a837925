// The format of a topology's timeline.
#include <algorithm>
#include <cmath>

#include "simulator/topology/Format.h"

namespace sim {
namespace {

constexpr std::uint64_t MAX_SECONDS = 366 * 86400;
constexpr std::size_t MAX_STEPS = 10000;
constexpr std::size_t MAX_OPERATIONS = 10000;

constexpr std::string_view OPERATIONS[] = {"add", "remove", "replace", "move", "copy", "test"};

// What only some operations have, and these must.
void DescribePart(Keys& keys, const char* key, bool isNeeded, const std::string& operation) {
    if (isNeeded && !keys.Has(key))
        keys.Refuse(nullptr, "the key \"" + std::string(key) + "\" is missing");
    if (!isNeeded && keys.Has(key))
        keys.Refuse(key, "the operation \"" + operation + "\" has no \"" + key + "\"");
}

void DescribeOperation(Keys& keys) {
    std::string operation, pointer;
    const bool known = keys.Word({"op", "What it does", true}, OPERATIONS, operation);
    keys.JsonPointer({"path", "Where: a JSON pointer into the topology, which has no timeline there", true}, pointer);
    keys.JsonPointer({"from", "Where the value of move and copy comes from"}, pointer);
    keys.AnyValue({"value", "The value of add, replace and test"});
    keys.Rule(R"({"if": {"properties": {"op": {"enum": ["add", "replace", "test"]}}},
        "then": {"required": ["value"]}, "else": {"properties": {"value": false}}})");
    keys.Rule(R"({"if": {"properties": {"op": {"enum": ["move", "copy"]}}},
        "then": {"required": ["from"]}, "else": {"properties": {"from": false}}})");
    if (!known)
        return;
    DescribePart(keys, "value", operation == "add" || operation == "replace" || operation == "test", operation);
    DescribePart(keys, "from", operation == "move" || operation == "copy", operation);
}

} // namespace

void Describe(Keys& keys, Step& step) {
    double seconds = 0;
    if (keys.Real({"after_seconds", "Is taken so many seconds after the step before, or after the start"}, MAX_SECONDS,
                  seconds))
        step.afterMs = static_cast<std::uint64_t>(std::ceil(seconds * 1000));
    keys.Number({.name = "after_calls",
                 .about = "Is taken when so many calls were made since the step before, or since the start",
                 .byDefault = "counted in seconds"},
                step.afterCalls, {1});
    std::size_t function = 0;
    if (keys.FunctionName({"function", "Only calls of this function count"}, function))
        step.function = function;
    keys.Text({"adapter", "Only calls about the adapter with this identifier count"}, step.adapter);
    keys.List({"patch", "What it changes (RFC 6902)", true}, MAX_OPERATIONS, DescribeOperation);
    keys.Rule(R"({"oneOf": [{"required": ["after_seconds"]}, {"required": ["after_calls"]}]})");
    keys.Rule(R"({"dependentRequired": {"function": ["after_calls"], "adapter": ["after_calls"]}})");
    const bool bySeconds = keys.Has("after_seconds");
    const bool byCalls = keys.Has("after_calls");
    if (bySeconds && byCalls)
        keys.Refuse("after_calls", "a step has either \"after_seconds\" or \"after_calls\"");
    if (!bySeconds && !byCalls)
        keys.Refuse(nullptr, "a step needs \"after_seconds\" or \"after_calls\"");
    for (const char* key : {"function", "adapter"}) {
        if (bySeconds && !byCalls && keys.Has(key))
            keys.Refuse(key, "only a step with \"after_calls\" counts calls");
    }
}

void DescribeTimeline(Keys& keys, std::vector<Step>& timeline, bool required) {
    keys.List({"timeline", "What changes in the course of time, step by step", required}, MAX_STEPS, [&](Keys& entry) {
        Step step;
        Describe(entry, step);
        timeline.push_back(std::move(step));
    });
}

} // namespace sim
