#include "tools/fcoectl/Perform.h"

#include <algorithm>
#include <new>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/reading/CoreAgentView.h"
#include "tools/reading/LogHint.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

// For parts, whose document is all that is wanted of them.
class NoOutput : public Output {
  public:
    void Write(std::string_view) override {}
    void WriteError(std::string_view) override {}
    bool Failed() const override { return false; }
};

Adapter Choose(const Command& command, const Options& options, Agent& agent) {
    if (options.allAdapters)
        return {};
    if (command.takes & TAKES_PORT)
        return options.adapter ? ChooseAdapter(agent, options.adapter, Need::One) : AdapterOfPort(agent, options.wwpn);
    return ChooseAdapter(agent, options.adapter, command.takes & TAKES_ONE ? Need::One : Need::Any);
}

template <class Function> std::optional<Failure> Caught(Function&& function) {
    try {
        function();
    } catch (const Failure& failure) {
        return failure;
    } catch (const std::bad_alloc&) {
        return Failure(Exit::AgentThrew, "Memory is exhausted.");
    }
    return std::nullopt;
}

// A topology that is wrong hides all adapters, which is a problem, or the one before it stays in use.
void NoteTopology(Report& report) {
    const std::string wrong = reading::WrongTopology();
    const auto tells = [&](const reading::Problem& problem) { return problem.text.find(wrong) != std::string::npos; };
    if (!wrong.empty() && !(report.problems && std::ranges::any_of(*report.problems, tells)))
        report.notes.push_back(fmt::format("The simulated suite's topology is wrong: {}.", wrong));
}

// The agent is loaded for the command alone: it is gone again when notes, messages or the document are written.
void Execute(const Command& command, Context& context) {
    if (const auto* own = std::get_if<Action>(&command.run))
        return (*own)(context);
    const auto agent = LoadAgent(context);
    const auto failure = Caught([&] {
        const Adapter adapter = Choose(command, context.options, *agent);
        AgentContext whole{context, *agent, adapter};
        std::get<AgentAction>(command.run)(whole);
    });
    NoteTopology(context.report);
    if (failure)
        throw Failure(*failure);
}

template <class Function> Part MakePart(Context& context, const char* name, Function&& run) {
    const Command& command = *std::ranges::find(context.program.commands, std::string_view(name), &Command::name);
    Options options = context.options;
    options.form = Form::Json;
    options.json = true;
    NoOutput output;
    Report report = EmptyReport(command, options);
    Context inner{context.program, options, output, report, context.limit, context.mask, true};
    Part part;
    part.failure = Caught([&] { run(command, inner); });
    part.document = DocumentOf(command.name, report, part.failure ? &*part.failure : nullptr);
    if (part.failure && part.failure->Code() == Exit::Partial)
        part.failure.reset();
    if (report.problems)
        context.report.Add(report);
    return part;
}

} // namespace

Report EmptyReport(const Command& command, const Options& options) {
    Report report;
    if (command.list)
        report.body[command.list] = Json::array();
    if (command.takes & TAKES_ADAPTER || options.dryRun || options.allAdapters)
        report.problems.emplace();
    return report;
}

std::unique_ptr<Agent> LoadAgent(const Context& context) {
    return std::make_unique<Agent>(FromUtf8(context.options.agentFile), FromUtf8(context.options.libraryFolder),
                                   context.mask);
}

std::optional<Failure> Perform(const Command& command, Context& context) {
    if (auto failure = Caught([&] { Execute(command, context); }))
        return failure;
    if (!context.report.complete && !context.options.tolerant)
        return Failure(Exit::Partial, Describe(Exit::Partial).meaning, {LogHint()});
    return std::nullopt;
}

Part PartOf(Context& context, const char* command) {
    return MakePart(context, command, [](const Command& part, Context& inner) { std::get<Action>(part.run)(inner); });
}

Part PartOf(Context& context, const char* command, Agent& agent, const Adapter& adapter) {
    return MakePart(context, command, [&](const Command& part, Context& inner) {
        AgentContext whole{inner, agent, adapter};
        std::get<AgentAction>(part.run)(whole);
    });
}

} // namespace fcoectl
