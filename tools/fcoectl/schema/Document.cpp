#include "tools/fcoectl/schema/Document.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Report.h"
#include "tools/fcoectl/schema/Bodies.h"
#include "tools/fcoectl/schema/Types.h"
#include "tools/reading/What.h"

namespace fcoectl {
namespace {

using namespace schema;

constexpr char USAGE[] = "usage"; // of a command line that names no command, or wrongly

Json Error() {
    Json error = Object({{"code", Integer()},
                         {"name", Text()},
                         {"text", Text()},
                         {"arguments", ListOf(Text())},
                         {"source", Text()},
                         {"exit_code", Integer()}});
    error["properties"]["hints"] = ListOf(Text());
    return error;
}

Json Problem() {
    Json what = {{"enum", Json::array()}};
    for (const char* key : reading::WhatKeys())
        what["enum"].push_back(key);
    return Object({{"adapter", Text()},
                   {"what", what},
                   {"function", Text()},
                   {"status", OrNull(Integer())},
                   {"text", Text()},
                   {"advice", Text()}});
}

// command: null for a wrong command line.
Json SchemaOf(const std::string& kind, const Command* command) {
    Json document = {
        {"$schema", "https://json-schema.org/draft/2020-12/schema"},
        {"$id", fmt::format("urn:fcoectl:{}:{}", kind, DOCUMENT_VERSION)},
        {"title", command ? fmt::format("fcoectl {} --json", command->name) : "fcoectl with a wrong command line"},
        {"description", command ? command->purpose : "Why the command line is refused."}};
    document.update(
        Object({{"schema", Only("fcoectl/" + kind)}, {"version", Only(DOCUMENT_VERSION)}, {"complete", Boolean()}}));
    Json& properties = document["properties"];
    Json& required = document["required"];
    Json definitions = {{"error", Error()}};
    if (command && command->takes & (TAKES_ADAPTER | TAKES_DRY_RUN | TAKES_ALL)) {
        properties["problems"] = ListOf(Defined("problem"));
        definitions["problem"] = Problem();
        if (command->takes & TAKES_ADAPTER) // others read with --dry-run and with --all
            required.push_back("problems");
    }
    if (command && command->columns) {
        properties[command->list] = ListOf(Defined("row"));
        definitions["row"] = Row(command->columns({}));
    }
    if (command) {
        const Json body = BodyOf(command->name);
        properties.update(body);
        definitions.update(DefinitionsOf(command->name));
        // With --watch its list has another name.
        if (command->list && !(command->takes & TAKES_WATCH))
            required.push_back(command->list);
    }
    properties["notes"] = ListOf(Text());
    properties["error"] = Defined("error");
    properties["more_errors"] = ListOf(Defined("error"));
    document["$defs"] = std::move(definitions);
    return document;
}

} // namespace

std::vector<std::string> DocumentKinds(std::span<const Command> commands) {
    std::vector<std::string> kinds;
    for (const Command& command : commands)
        kinds.push_back(KindOf(command.name));
    kinds.emplace_back(USAGE);
    return kinds;
}

Json DocumentSchema(std::span<const Command> commands, std::string_view kind) {
    const auto command =
        std::ranges::find_if(commands, [&](const Command& known) { return KindOf(known.name) == kind; });
    if (command != commands.end())
        return SchemaOf(KindOf(command->name), &*command);
    return kind == USAGE ? SchemaOf(USAGE, nullptr) : Json();
}

} // namespace fcoectl
