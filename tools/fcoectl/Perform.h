// Carries a command out.
#pragma once

#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Command.h"
#include "tools/fcoectl/Failure.h"

namespace fcoectl {

// What stands in the document of a command that ended before it began.
Report EmptyReport(const Command& command, const Options& options);

// The agent that a command's options name, loaded. Throws Failure.
std::unique_ptr<Agent> LoadAgent(const Context& context);

// What ends the command early is returned. The agent is loaded for the command alone.
std::optional<Failure> Perform(const Command& command, Context& context);

// Of a command that another one is made of. What was not read is in the report of the whole, too.
struct Part {
    nlohmann::ordered_json document; // as the command prints it with --json
    std::optional<Failure> failure;  // none when something was not read, which the document tells
};
// command: one that needs no agent, or loads it itself.
Part PartOf(Context& context, const char* command);
// command: one that asks the agent; adapter: its identifier is empty for all.
Part PartOf(Context& context, const char* command, Agent& agent, const Adapter& adapter);

} // namespace fcoectl
