#include "tools/fcoectl/schema/Bodies.h"

#include <algorithm>
#include <utility>

#include "tools/fcoectl/Statistics.h"
#include "tools/reading/Records.h"

namespace fcoectl::schema {
namespace {

Json With(Json members, Members more) {
    for (const auto& [key, value] : more)
        members[key] = value;
    return members;
}

Json Of(Members members) {
    return With(Json::object(), members);
}

// A record with all of its fields, and the lists within it.
template <class Record> Json Node(Members lists) {
    Json node = Row(ColumnsOf<Record>());
    for (const auto& [key, value] : lists)
        node["properties"][key] = value;
    Json keys = Json::array();
    for (const auto& [key, value] : node["properties"].items())
        keys.push_back(key);
    node["required"] = std::move(keys);
    return node;
}

Json Tree() {
    const Json luns = ListOf(Node<QEL_FCOE_LUN>({}));
    const Json targets = ListOf(Node<QEL_FCOE_TARGET>({{"luns", luns}}));
    const Json ports = ListOf(Node<QEL_FCOE_PORT>({{"targets", targets}}));
    const Json fabrics = ListOf(Node<QEL_FCOE_FABRIC>({{"ports", ports}}));
    const Json withoutParent = Object({{"ports", ports}, {"targets", targets}, {"luns", luns}});
    return Of({{"adapters", ListOf(Node<QEL_FCOE_HBA>({{"fabrics", fabrics}, {"without_parent", withoutParent}}))}});
}

// Beside the list that there is without --watch.
Json Samples() {
    Options watched;
    watched.watch = 1;
    return Of(
        {{"samples", ListOf(Object({{"seconds", Number()}, {"statistics", ListOf(Row(StatisticColumns(watched)))}}))}});
}

Json Change() {
    return Of({{"adapter", Text()}, {"port_wwn", Text()}, {"dry_run", Only(true)}});
}

Json Generation() {
    return Of({{"adapter", Text()}, {"port_wwn", Text()}});
}

Json Rescans() {
    return Of({{"adapter", Text()}, {"adapters", ListOf(Text())}, {"dry_run", Only(true)}});
}

Json Checks() {
    const Json step = Object({{"step", Text()}, {"milliseconds", Number()}, {"records", Integer()}});
    const Json check = Object({{"check", Text()},
                               {"result", TextOf({"ok", "warning", "failure"})},
                               {"text", Text()},
                               {"advice", Text()},
                               {"steps", ListOf(step)}});
    return Of({{"checks", ListOf(check)}, {"failures", Integer()}, {"warnings", Integer()}});
}

Json Log() {
    return Of({{"file", Text()},
               {"bytes", Integer()},
               {"lines", Integer()},
               {"unreadable_lines", Integer()},
               {"cut", Boolean()}});
}

Json LogAndTotal() {
    return With(Log(), {{"total", Integer()}});
}

// "calls" has the request itself, or nothing when it was not found.
Json LogRequest() {
    return With(
        Log(), {{"calls", ListOf(Defined("call"))}, {"request", Integer()}, {"time", Text()}, {"problems", Integer()}});
}

Json LogCall() {
    const Json answer =
        Object({{"text", Text()}, {"status_text", Text()}, {"problem", Boolean()}, {"count", Integer()}});
    const Json results = {{"type", "object"}, {"additionalProperties", Integer()}};
    return Of({{"call", Object({{"operation", Text()},
                                {"neighbour", Text()},
                                {"function", Text()},
                                {"count", Integer()},
                                {"unfinished", Integer()},
                                {"milliseconds", Number()},
                                {"longest_milliseconds", Number()},
                                {"results", results},
                                {"answers", ListOf(answer)},
                                {"calls", ListOf(Defined("call"))}})}});
}

Json LogTimeline() {
    return With(Log(), {{"events", Integer()}, {"output", Text()}});
}

Json Written() {
    return Of({{"output", Text()}});
}

Json Recorded() {
    return With(Written(), {{"adapters", Integer()}, {"calls", Integer()}});
}

Json Archive() {
    return With(Written(), {{"entries", ListOf(Text())}});
}

Json TextAlone() {
    return Of({{"text", Text()}});
}

Json Schemas() {
    return Of({{"kinds", ListOf(Text())}, {"json_schema", {{"type", "object"}}}});
}

Json Versions() {
    return Of({{"fcoectl_version", Text()}, {"agent_file", OrNull(Text())}, {"agent_version", OrNull(Text())}});
}

struct Body {
    std::string_view command;
    Json (*members)();
    Json (*definitions)() = nullptr;
};

constexpr Body BODIES[] = {
    {"tree", Tree},
    {"stats", Samples},
    {"vport create", Change},
    {"vport delete", Change},
    {"wwpn", Generation},
    {"rescan", Rescans},
    {"doctor", Checks},
    {"report", Written},
    {"diagnose", Archive},
    {"record", Recorded},
    {"metrics", Written},
    {"log requests", LogAndTotal},
    {"log request", LogRequest, LogCall},
    {"log problems", LogAndTotal},
    {"log slow", Log},
    {"log timeline", LogTimeline},
    {"help", TextAlone},
    {"completion", TextAlone},
    {"man", TextAlone},
    {"schema", Schemas},
    {"version", Versions},
};

const Body* Find(std::string_view command) {
    const auto* found = std::ranges::find(BODIES, command, &Body::command);
    return found == std::end(BODIES) ? nullptr : found;
}

} // namespace

Json BodyOf(std::string_view command) {
    const Body* body = Find(command);
    return body ? body->members() : Json::object();
}

Json DefinitionsOf(std::string_view command) {
    const Body* body = Find(command);
    return body && body->definitions ? body->definitions() : Json::object();
}

} // namespace fcoectl::schema
