#include "tools/fcoectl/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Help.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr double DEFAULT_WATCH_SECONDS = 5;
constexpr double MAXIMUM_WATCH_SECONDS = 86400;

constexpr char JSON_OPTION[] = "--json";

// What the parser stores into beside the options themselves.
struct Parsed {
    Options options;
    std::string watch;
    CLI::Option* watching = nullptr;
};

// The seconds of --watch; empty text: the default.
double WatchSeconds(const std::string& text) {
    if (text.empty())
        return DEFAULT_WATCH_SECONDS;
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || !(seconds >= 0.1) ||
        seconds > MAXIMUM_WATCH_SECONDS)
        throw CLI::ValidationError("--watch", fmt::format("'{}' is not between 0.1 and 86400 seconds", text));
    return seconds;
}

// The options once all are known.
Options Checked(Parsed& parsed) {
    Options& options = parsed.options;
    if (parsed.watching && parsed.watching->count() > 0)
        options.watch = WatchSeconds(parsed.watch);
    if (options.count && !options.watch)
        throw CLI::ValidationError("--count", "needs --watch");
    if (options.watch && options.json && options.count == 0)
        throw CLI::ValidationError("--watch", "with --json needs --count, since the document must end");
    if (options.watch && options.blocks)
        throw CLI::ValidationError("--watch", "shows a table; it does not go with --long");
    return options;
}

void AddOptions(CLI::App& app, const Command& command, Parsed& parsed) {
    Options& options = parsed.options;
    const unsigned takes = command.takes;
    if (takes & TAKES_NEW)
        app.add_option("WWPN", options.wwpn,
                       "Name of the new port, such as 20:01:00:1B:21:AA:BB:CC, or auto to have one generated "
                       "(default: auto)")
            ->type_name("");
    if (takes & TAKES_PORT)
        app.add_option("WWPN", options.wwpn, "Name of the port to delete")->type_name("")->required();
    if (takes & TAKES_CODE)
        app.add_option("CODE", options.code,
                       "Decimal or 0x hexadecimal; of the agent's codes the last three digits suffice (default: all "
                       "codes)")
            ->type_name("");
    if (takes & TAKES_ADAPTER)
        app.add_option("--adapter", options.adapter, "Only this adapter, by its device identifier (default: all)")
            ->type_name("ID")
            ->group("Adapter");
    if (takes & TAKES_ONE)
        app.add_option("--adapter", options.adapter,
                       "The adapter, by its device identifier (default: the only one; needed when there are several)")
            ->type_name("ID")
            ->group("Adapter");
    if (takes & TAKES_WATCH) {
        parsed.watching = app.add_option("--watch", parsed.watch,
                                         "Read again and again, and show rates; seconds between two readings "
                                         "(default: 5)")
                              ->type_name("[SECONDS]")
                              ->expected(0, 1)
                              ->group("Watching");
        app.add_option("--count", options.count, "End after that many readings (default: at Ctrl+C)")
            ->type_name("N")
            ->check(CLI::Range(1u, 1000000u).description(""))
            ->group("Watching");
    }
    app.add_flag(JSON_OPTION, options.json, "One JSON document instead of text (default: text)")->group("Output");
    if (takes & TAKES_LONG)
        app.add_flag("--long", options.blocks, "Every field, one a line (default: a table)")->group("Output");
    if (takes & TAKES_ASCII)
        app.add_flag("--ascii", options.ascii, "Draw with ASCII characters (default: box characters)")->group("Output");
    if (takes & TAKES_AGENT)
        app.add_option("--agent", options.agentFile, "Load this agent module (default: the registered one)")
            ->type_name("FILE")
            ->group("Agent");
    if (LoadsAgent(takes))
        app.add_option("--library-dir", options.libraryFolder,
                       "Take the HBA library orvanhapi.dll from this folder (default: beside the agent or the "
                       "program, or the system's)")
            ->type_name("DIR")
            ->group("Agent");
}

// The parser for the command's words below the program; groups such as `vport` are made on the way.
CLI::App& AddCommand(CLI::App& root, const Command& command) {
    CLI::App* parent = &root;
    std::string_view words = command.name;
    if (const auto blank = words.find(' '); blank != std::string_view::npos) {
        const std::string group(words.substr(0, blank));
        words.remove_prefix(blank + 1);
        const auto groups = root.get_subcommands([&](const CLI::App* app) { return app->check_name(group); });
        parent = groups.empty() ? nullptr : groups.front();
        if (!parent) {
            parent = root.add_subcommand(group, "List, create and delete NPIV virtual ports.");
            parent->require_subcommand(1);
            parent->group("Commands");
        }
    }
    CLI::App* app = parent->add_subcommand(std::string(words), command.purpose);
    app->group("Commands");
    app->footer(HelpFooter(command));
    return *app;
}

void NameHelp(CLI::App& app) {
    app.set_help_flag("-h,--help", "Print this help and exit")->group("Help");
    for (CLI::App* child : app.get_subcommands([](const CLI::App*) { return true; }))
        NameHelp(*child);
}

// The command's words at the start of the arguments. The parser calls a wrong or missing one merely unexpected; here it
// is named for what it is.
struct Words {
    std::string known;   // "vport create"
    std::string problem; // empty: none
};

Words ReadWords(const CLI::App& root, const std::vector<std::string>& arguments) {
    Words words;
    const CLI::App* app = &root;
    for (const std::string& argument : arguments) {
        const auto children = app->get_subcommands([](const CLI::App*) { return true; });
        if (children.empty() || argument.starts_with("-"))
            return words;
        const auto found =
            std::ranges::find_if(children, [&](const CLI::App* child) { return child->check_name(argument); });
        if (found == children.end()) {
            words.problem =
                fmt::format("There is no command '{}{}{}'.", words.known, words.known.empty() ? "" : " ", argument);
            return words;
        }
        app = *found;
        words.known += (words.known.empty() ? "" : " ") + app->get_name();
    }
    if (!app->get_subcommands([](const CLI::App*) { return true; }).empty())
        words.problem = "A command is needed.";
    return words;
}

std::string FirstLine(std::string text) {
    text.resize(std::min(text.find('\n'), text.size()));
    return text;
}

} // namespace

Request ParseCommandLine(const std::vector<std::string>& arguments) {
    Request request;
    CLI::App root("Shows and changes what the FCoE agent of this machine manages.", "fcoectl");
    root.require_subcommand(1);
    root.set_version_flag("--version", std::string("fcoectl ") + FCOECTL_VERSION, "Print the version and exit")
        ->group("Help");
    root.formatter(MakeHelpFormatter());
    root.footer(MainHelpFooter());

    std::vector<std::unique_ptr<Parsed>> parsed; // one a command: their options share names
    for (const Command& command : Commands()) {
        parsed.push_back(std::make_unique<Parsed>());
        AddOptions(AddCommand(root, command), command, *parsed.back());
    }
    NameHelp(root);

    const Words words = ReadWords(root, arguments);
    request.usage = words.problem;
    request.hint = fmt::format("Try 'fcoectl {}{}--help'.", words.known, words.known.empty() ? "" : " ");
    try {
        if (request.usage.empty()) {
            root.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
            const auto found = std::ranges::find(Commands(), words.known, &Command::name);
            request.options = Checked(*parsed[static_cast<std::size_t>(found - Commands().begin())]);
            request.command = &*found;
            return request;
        }
    } catch (const CLI::CallForVersion& version) {
        request.text = std::string(version.what()) + "\n";
    } catch (const CLI::CallForHelp&) {
        request.text = root.help();
    } catch (const CLI::ParseError& error) {
        request.usage = FirstLine(error.what());
    }
    request.options.json = std::ranges::find(arguments, JSON_OPTION) != arguments.end();
    return request;
}

} // namespace fcoectl
