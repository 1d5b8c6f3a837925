#include "tools/fcoectl/Help.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "tools/fcoectl/Examples.h"
#include "tools/fcoectl/OptionTable.h"

namespace fcoectl {
namespace {

// The library's layout with one blank line between sections and the program's words for things.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() {
        label("SUBCOMMAND", "COMMAND");
        label("POSITIONALS", "Arguments");
        label("Positionals", "Arguments");
        column_width(24);
    }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
        for (std::size_t at; (at = text.find("\n\n\n")) != std::string::npos;)
            text.erase(at, 1);
        text.erase(text.find_last_not_of('\n') + 1);
        return text + '\n';
    }

    std::string make_usage(const CLI::App* app, std::string name) const override {
        return '\n' + CLI::Formatter::make_usage(app, std::move(name));
    }
};

// What commands of that kind can end with.
unsigned EndsOf(unsigned takes) {
    unsigned ends = ENDS_ANY;
    if (LoadsAgent(takes))
        ends |= ENDS_AGENT_USER;
    if (takes & (TAKES_ADAPTER | TAKES_LIBRARY))
        ends |= ENDS_READER;
    if (takes & TAKES_NEW)
        ends |= ENDS_CREATION;
    if (takes & TAKES_PORT)
        ends |= ENDS_DELETION;
    if (takes & TAKES_ALL)
        ends |= ENDS_RESCAN;
    if (takes == (TAKES_AGENT | TAKES_ONE))
        ends |= ENDS_GENERATION;
    if (takes & TAKES_LOG_FILE)
        ends |= ENDS_LOG_READER;
    return ends;
}

std::string ExitCodeLines(unsigned ends) {
    std::string lines = "Exit codes:\n";
    for (const ExitCode& exit : ExitCodes())
        if (exit.ends & ends)
            lines += fmt::format("  {:>2}  {}\n", static_cast<int>(exit.value), exit.meaning);
    return lines;
}

// The command and its output, indented.
std::string ExampleLines(std::string_view name) {
    const Example* example = FindExample(name);
    if (!example)
        return {};
    std::string lines = fmt::format("\nExample:\n  > {}\n", example->command);
    for (std::string_view rest = example->output; !rest.empty();) {
        const auto end = rest.find('\n');
        lines += fmt::format("  {}\n", rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    return lines;
}

} // namespace

std::shared_ptr<CLI::FormatterBase> MakeHelpFormatter() {
    return std::make_shared<HelpFormatter>();
}

std::string HelpFooter(const Command& command) {
    return ExitCodeLines(EndsOf(command.takes)) + ExampleLines(command.name);
}

std::string MainHelpFooter() {
    std::string lines = "Most commands take:\n";
    for (const Option& option : OptionTable())
        if (option.takes == TAKES_NOTHING || (option.takes & (TAKES_AGENT | TAKES_ADAPTER)))
            lines +=
                fmt::format("  {:<22}{}\n", LongName(option) + (*option.placeholder ? " " : "") + option.placeholder,
                            option.description);
    return lines + "Options may stand before the command, too; 'fcoectl COMMAND --help' tells the rest.\n\n" +
           ExitCodeLines(ENDS_ALL) + ExampleLines("");
}

} // namespace fcoectl
