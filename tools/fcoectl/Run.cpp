#include "tools/fcoectl/Run.h"

#include <optional>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/CommandLine.h"
#include "tools/fcoectl/LogHint.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

// The agent is loaded for the command alone: it is gone again when notes, messages or the document are written.
void Execute(const Command& command, Context& context) {
    if (const auto* own = std::get_if<Action>(&command.run))
        return (*own)(context);
    Agent agent(FromUtf8(context.options.agentFile), FromUtf8(context.options.libraryFolder));
    const Adapter adapter =
        ChooseAdapter(agent, context.options.adapter, command.takes & TAKES_ONE ? Need::One : Need::Any);
    AgentContext whole{context, agent, adapter};
    std::get<AgentAction>(command.run)(whole);
}

// Runs the command; what ends it early becomes the failure.
std::optional<Failure> Perform(const Command& command, Context& context) {
    try {
        Execute(command, context);
    } catch (const Failure& failure) {
        return failure;
    } catch (const std::bad_alloc&) {
        return Failure(Exit::AgentThrew, "Memory is exhausted.");
    }
    if (!context.report.complete)
        return Failure(Exit::Partial, Describe(Exit::Partial).meaning, {LogHint()});
    return std::nullopt;
}

int RunCommand(const Request& request, Output& output) {
    const Command& command = *request.command;
    Report report;
    if (command.list)
        report.body[command.list] = nlohmann::ordered_json::array();
    Context context{request.options, output, report};
    const std::optional<Failure> failure = Perform(command, context);
    if (request.options.json) {
        output.Write(Document(command.name, report, failure ? &*failure : nullptr));
    } else {
        for (const std::string& note : report.notes)
            output.WriteError(fmt::format("fcoectl: {}\n", Printable(note)));
        if (failure)
            output.WriteError(Messages(*failure));
    }
    return static_cast<int>(failure ? failure->Code() : Exit::Complete);
}

int RefuseUsage(const Request& request, Output& output) {
    const Failure failure(Exit::Usage, request.usage, {request.hint});
    if (request.options.json)
        output.Write(Document("usage", {}, &failure));
    else
        output.WriteError(fmt::format("fcoectl: {}\n{}\n", Printable(request.usage), request.hint));
    return static_cast<int>(Exit::Usage);
}

} // namespace

int Run(const std::vector<std::string>& arguments, Output& output) {
    const Request request = ParseCommandLine(arguments);
    int exit = static_cast<int>(Exit::Complete);
    if (request.command)
        exit = RunCommand(request, output);
    else if (!request.usage.empty())
        exit = RefuseUsage(request, output);
    else
        output.Write(request.text);
    return output.Failed() ? static_cast<int>(Exit::OutputFailed) : exit;
}

} // namespace fcoectl
