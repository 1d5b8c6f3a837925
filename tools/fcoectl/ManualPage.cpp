#include "tools/fcoectl/ManualPage.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/Examples.h"
#include "tools/fcoectl/OptionTable.h"

namespace fcoectl {
namespace {

// A text that is no request of the page's language, whatever it holds.
std::string Plain(std::string_view text) {
    std::string escaped;
    bool lineStart = true;
    for (const char c : text) {
        if (lineStart && (c == '.' || c == '\''))
            escaped += "\\&";
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
        lineStart = c == '\n';
    }
    return escaped;
}

std::string Section(const char* title) {
    return fmt::format(".SH {}\n", title);
}

// A paragraph behind a title.
std::string Item(const std::string& title, std::string_view text) {
    return fmt::format(".TP\n\\fB{}\\fR\n{}\n", Plain(title), Plain(text));
}

// With its argument.
std::string TitleOf(const Command& command) {
    const Argument* argument = ArgumentOf(command);
    if (!argument)
        return command.name;
    const std::string name = argument->least > 0 ? argument->name : fmt::format("[{}]", argument->name);
    return fmt::format("{} {}", command.name, name);
}

std::string NameOf(const Option& option) {
    std::string name = option.names;
    if (const auto comma = name.find(','); comma != std::string::npos)
        name.insert(comma + 1, " ");
    if (option.value != ValueOf::Flag)
        name += option.value == ValueOf::Optional ? fmt::format(" [{}]", option.placeholder)
                                                  : fmt::format(" {}", option.placeholder);
    return name;
}

// Which commands have it.
std::string OwnersOf(const Option& option, std::span<const Command> commands) {
    std::vector<std::string_view> names;
    for (const Command& command : commands)
        if (Has(command, option))
            names.emplace_back(command.name);
    if (names.size() == commands.size())
        return "Of all commands.";
    return fmt::format("Of {}.", fmt::join(names, ", "));
}

} // namespace

std::string ManualPage(std::span<const Command> commands) {
    std::string page = fmt::format(".TH FCOECTL 1 \"\" \"fcoectl {}\" \"FCoE agent\"\n", FCOECTL_VERSION);
    page += Section("NAME") + "fcoectl \\- show and change what the FCoE agent of this machine manages\n";
    page += Section("SYNOPSIS") + ".B fcoectl\n.I COMMAND\n[\\fIARGUMENT\\fR] [\\fIOPTION\\fR ...]\n";
    page += Section("DESCRIPTION") +
            Plain("fcoectl loads the FCoE agent, asks it through its public interface, and shows the answer as text or "
                  "as one JSON document. Options stand behind the command or before it.\n");
    page += Section("COMMANDS");
    for (const Command& command : commands)
        page += Item(TitleOf(command), command.purpose);
    page += Section("OPTIONS");
    for (const Option& option : OptionTable())
        page += Item(NameOf(option), fmt::format("{}.\n{}", option.description, OwnersOf(option, commands)));
    page += Item("-h, --help", "Print the help of the program or of a command.");
    page += Item("--version", "Print the version.");
    page += Section("EXIT STATUS");
    for (const ExitCode& exit : ExitCodes())
        page += Item(fmt::format("{}", static_cast<int>(exit.value)), fmt::format("{}\n{}", exit.meaning, exit.advice));
    page += Section("ENVIRONMENT") + Item("NO_COLOR", "When set, nothing is coloured on a terminal.");
    page += Section("EXAMPLES");
    for (const char* name : {"hbas", "disks", "stats", "rescan"}) {
        const Example& example = *FindExample(name);
        page += fmt::format(".PP\n.EX\n> {}\n{}.EE\n", Plain(example.command), Plain(example.output));
    }
    return page;
}

} // namespace fcoectl
