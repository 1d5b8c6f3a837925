#include "tools/fcoectl/Run.h"

#include <memory>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include "tools/fcoectl/ClosableOutput.h"
#include "tools/fcoectl/CommandLine.h"
#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Machine.h"
#include "tools/fcoectl/MaskedOutput.h"
#include "tools/fcoectl/Perform.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/TimeLimit.h"
#include "tools/reading/LogHint.h"

namespace fcoectl {
namespace {

std::string HelpOf(const std::vector<std::string>& words) {
    std::vector<std::string> arguments = words;
    arguments.emplace_back("--help");
    const Request asked = ParseCommandLine(arguments);
    if (!asked.usage.empty())
        throw Failure(Exit::Usage, asked.usage, {asked.hint}, words);
    return asked.text;
}

// Errors in red where that can be.
void Complain(Output& output, const std::string& text) {
    output.WriteError(output.ErrorsHaveColours() ? "\x1B[31m" + text + "\x1B[0m" : text);
}

// What --mask replaces whatever is read: who uses which machine, and the adapter as it was typed, which messages
// repeat.
void LearnBeforehand(reading::Mask& mask, const Options& options) {
    mask.Learn(ComputerName());
    mask.Learn(UserName());
    const std::string adapter = options.adapter.value_or("");
    if (adapter.find_first_not_of("0123456789") != std::string::npos) // no number in the list
        mask.Learn(adapter);
}

// What a command needs while it runs. Shared with its thread, which goes on when nobody waits for it any more.
struct Work {
    Work(const Request& asked, Output& written)
        : request(asked), report(EmptyReport(*asked.command, asked.options)), limit(asked.options.timeout),
          masked(written, asked.options.mask ? &mask : nullptr), output(masked, limit) {
        LearnBeforehand(mask, asked.options);
    }

    void Do() {
        limit.Restart();
        Context context{program, request.options, output, report, limit, request.options.mask ? &mask : nullptr};
        failure = Perform(*request.command, context);
        limit.Finish();
    }

    Program program{Commands(), HelpOf};
    Request request;
    Report report;
    TimeLimit limit;
    reading::Mask mask;
    MaskedOutput masked;
    ClosableOutput output;
    std::optional<Failure> failure;
};

Failure TimedOut(const Request& request) {
    std::vector<std::string> hints{"The HBA library, the core agent or the DCB service does not return from a call.",
                                   LogHint()};
    if (request.command->takes & TAKES_DRY_RUN && !request.options.dryRun)
        hints.emplace_back("The change may have been carried out, or not, or may still be: look before you try again.");
    return {Exit::TimedOut, fmt::format("The agent did not answer within {} s.", *request.options.timeout),
            std::move(hints)};
}

// On a thread of its own when there is a limit: a call into the agent can only be left behind.
void DoWithinLimit(const std::shared_ptr<Work>& work) {
    if (!work->request.options.timeout)
        return work->Do();
    std::thread([work] { work->Do(); }).detach();
    if (work->limit.Wait())
        return;
    work->output.Close();
    throw TimedOut(work->request);
}

// None is left without advice.
void Advise(Failure& failure) {
    if (!failure.Hints().empty())
        return;
    failure.AddHint(Describe(failure.Code()).advice);
    if (failure.Code() == Exit::AgentThrew)
        failure.AddHint(LogHint());
}

int RunCommand(const Request& request, Output& written) {
    const Command& command = *request.command;
    const auto work = std::make_shared<Work>(request, written);
    Report report;
    std::optional<Failure> failure;
    reading::Mask mask;
    try {
        DoWithinLimit(work);
        report = std::move(work->report);
        failure = std::move(work->failure);
        mask = std::move(work->mask);
    } catch (const Failure& timedOut) { // what the command has so far belongs to its thread
        report = EmptyReport(command, request.options);
        failure = timedOut;
        LearnBeforehand(mask, request.options);
    }
    MaskedOutput output(written, request.options.mask ? &mask : nullptr);
    if (failure)
        Advise(*failure);
    if (request.options.json) {
        auto document = DocumentOf(command.name, report, failure ? &*failure : nullptr);
        if (request.options.mask)
            mask.Apply(document);
        written.Write(TextOf(document));
    } else {
        for (const reading::Problem& problem : report.problems.value_or(std::vector<reading::Problem>()))
            output.WriteError(Message(problem));
        for (const std::string& note : report.notes)
            output.WriteError(fmt::format("fcoectl: {}\n", Printable(note)));
        if (failure)
            Complain(output, Messages(*failure));
    }
    return static_cast<int>(failure ? failure->Code() : Exit::Complete);
}

int RefuseUsage(const Request& request, Output& output) {
    const Failure failure(Exit::Usage, request.usage, {request.hint});
    if (request.options.json)
        output.Write(TextOf(DocumentOf("usage", {}, &failure)));
    else
        Complain(output, fmt::format("fcoectl: {}\n{}\n", Printable(request.usage), request.hint));
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
    if (!output.Failed() || exit == static_cast<int>(Exit::TimedOut))
        return exit;
    const ExitCode& lost = Describe(Exit::OutputFailed);
    Complain(output, fmt::format("fcoectl: {}\n  {}\n", lost.meaning, lost.advice));
    return static_cast<int>(Exit::OutputFailed);
}

} // namespace fcoectl
