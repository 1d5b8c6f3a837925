#include "tools/fcoectl/HelpCommands.h"

#include "tools/fcoectl/Completion.h"
#include "tools/fcoectl/ManualPage.h"

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

} // namespace fcoectl
