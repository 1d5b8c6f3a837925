#include "tools/fcoectl/HelpCommands.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Completion.h"
#include "tools/fcoectl/ManualPage.h"
#include "tools/fcoectl/schema/Document.h"

namespace fcoectl {
namespace {

void ShowText(Context& context, const std::string& text) {
    if (context.options.json)
        context.report.body["text"] = text;
    else
        context.output.Write(text);
}

} // namespace

void ShowHelp(Context& context) {
    ShowText(context, context.program.helpOf(context.options.words));
}

void ShowCompletion(Context& context) {
    const std::string& shell = context.options.words.front();
    if (shell == "bash")
        return ShowText(context, BashCompletion(context.program.commands));
    if (shell == "powershell")
        return ShowText(context, PowerShellCompletion(context.program.commands));
    throw Failure(Exit::Usage, "There are completions for bash and for powershell.",
                  {"Try 'fcoectl completion --help'."}, {shell});
}

void ShowManualPage(Context& context) {
    ShowText(context, ManualPage(context.program.commands));
}

// Without words, which there are.
void ShowSchema(Context& context) {
    const auto& words = context.options.words;
    const auto kinds = DocumentKinds(context.program.commands);
    if (words.empty()) {
        if (context.options.json)
            context.report.body["kinds"] = kinds;
        else
            context.output.Write(fmt::format("{}\n", fmt::join(kinds, "\n")));
        return;
    }
    const std::string kind = fmt::format("{}", fmt::join(words, "-"));
    const auto schema = DocumentSchema(context.program.commands, kind);
    if (schema.is_null())
        throw Failure(Exit::Usage, fmt::format("There is no document of the kind '{}'.", kind),
                      {"'fcoectl schema' lists the kinds."}, words);
    if (context.options.json)
        context.report.body["json_schema"] = schema;
    else
        context.output.Write(schema.dump(2, ' ', true) + '\n');
}

} // namespace fcoectl
