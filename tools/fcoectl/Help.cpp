#include "tools/fcoectl/Help.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "tools/fcoectl/Examples.h"

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

bool EndsWith(const ExitCode& exit, unsigned takes) {
    switch (exit.commands) {
    case EndsOf::Readers:
        return takes & TAKES_ADAPTER;
    case EndsOf::Changers:
        return takes & TAKES_ONE;
    case EndsOf::AgentUsers:
        return LoadsAgent(takes);
    default:
        return true;
    }
}

std::string ExitCodeLines(unsigned takes) {
    std::string lines = "Exit codes:\n";
    for (const ExitCode& exit : ExitCodes())
        if (EndsWith(exit, takes))
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
    return ExitCodeLines(command.takes) + ExampleLines(command.name);
}

std::string MainHelpFooter() {
    return "Most commands take:\n"
           "  --adapter ID          Only this adapter, by its device identifier (default: all)\n"
           "  --json                One JSON document instead of text (default: text)\n"
           "  --agent FILE          Load this agent module (default: the registered one)\n"
           "  --library-dir DIR     Take the HBA library orvanhapi.dll from this folder "
           "(default: beside the agent or the program, or the system's)\n"
           "'fcoectl COMMAND --help' tells the rest.\n\n" +
           ExitCodeLines(TAKES_ADAPTER | TAKES_ONE) + ExampleLines("");
}

} // namespace fcoectl
