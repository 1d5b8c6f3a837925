#include "tools/fcoectl/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Commands.h"
#include "tools/fcoectl/Help.h"
#include "tools/fcoectl/OptionTable.h"
#include "tools/fcoectl/Query.h"
#include "tools/fcoectl/Suggestion.h"
#include "tools/fcoectl/Wwn.h"

namespace fcoectl {
namespace {

constexpr double DEFAULT_WATCH_SECONDS = 5;
constexpr unsigned MAXIMUM_COUNT = 1000000;

constexpr const char* GENERAL_OPTIONS[] = {"--help", "-h", "--version"};
// What PowerShell makes of an identifier in braces without quotes.
constexpr char POWERSHELL_SCRIPT[] = "-encodedCommand";
constexpr char LOG_GROUP[] = "log";
constexpr char LOG_DEFAULT[] = "requests";

// The seconds of an option, at least a tenth and at most a day.
double Seconds(const char* option, const std::string& text) {
    constexpr double maximum = 86400;
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || !(seconds >= 0.1) || seconds > maximum)
        throw CLI::ValidationError(option, fmt::format("'{}' is not between 0.1 and 86400 seconds", text));
    return seconds;
}

unsigned Count(const std::string& text) {
    unsigned count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count < 1 || count > MAXIMUM_COUNT)
        throw CLI::ValidationError("--count", fmt::format("'{}' is not between 1 and {}", text, MAXIMUM_COUNT));
    return count;
}

Form FormOf(const Typed& typed) {
    constexpr std::pair<const char*, Form> forms[] = {{"table", Form::Table}, {"long", Form::Long},
                                                      {"csv", Form::Csv},     {"tsv", Form::Tsv},
                                                      {"json", Form::Json},   {"jsonl", Form::JsonLines}};
    if (typed.json + typed.blocks + typed.form.has_value() > 1)
        throw CLI::ValidationError("--format", "--json and --long do not go with one another");
    if (!typed.form)
        return typed.json ? Form::Json : typed.blocks ? Form::Long : Form::Table;
    for (const auto& [name, form] : forms)
        if (*typed.form == name)
            return form;
    throw CLI::ValidationError("--format",
                               fmt::format("'{}' is none of table, long, csv, tsv, json and jsonl", *typed.form));
}

// What only lists have.
void CheckList(const Typed& typed, const Command& command, Options& options) {
    try {
        options.query =
            ParseQuery(typed.columns.value_or(""), typed.sort.value_or(""), typed.where, command.columns(options));
    } catch (const std::invalid_argument& problem) {
        throw CLI::ParseError(problem.what(), CLI::ExitCodes::ValidationError);
    }
    options.header = !typed.noHeader;
    if (typed.noHeader && options.form != Form::Table && options.form != Form::Csv && options.form != Form::Tsv)
        throw CLI::ValidationError("--no-header", "is of table, csv and tsv");
}

// What only the log's commands have.
void CheckLog(const Typed& typed, const Command& command, Options& options) {
    options.log.file = typed.file.value_or("");
    options.log.follow = typed.follow;
    if (typed.follow && options.json)
        throw CLI::ValidationError("--follow", "does not go with --json, since the document must end");
    if (typed.follow && (options.formGiven || typed.columns || typed.sort || !typed.where.empty() || typed.noHeader))
        throw CLI::ValidationError("--follow", "writes a line a request; the options of lists do not go with it");
    if (!(command.takes & TAKES_REQUEST))
        return;
    const std::string& text = typed.arguments.front();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), options.log.request);
    if (error != std::errc() || end != text.data() + text.size() || options.log.request == 0)
        throw CLI::ValidationError("NUMBER", fmt::format("'{}' is no request's number", text));
}

// The options once all are known.
Options Checked(const Typed& typed, const Command& command) {
    Options options;
    options.form = FormOf(typed);
    options.formGiven = typed.form || typed.blocks || typed.json;
    options.json = options.form == Form::Json;
    options.tolerant = typed.tolerant;
    options.mask = typed.mask;
    options.output = typed.output.value_or("");
    options.openMetrics = typed.openMetrics;
    options.ascii = typed.ascii;
    options.dryRun = typed.dryRun;
    options.allAdapters = typed.all;
    options.adapter = typed.adapter;
    options.agentFile = typed.agent.value_or("");
    options.libraryFolder = typed.libraryFolder.value_or("");
    if (typed.adapter && typed.adapter->empty())
        throw CLI::ValidationError("--adapter", "is empty; is a variable of your script not set?");
    if (typed.adapter && typed.all)
        throw CLI::ValidationError("--all", "does not go with --adapter");
    if (typed.timeout)
        options.timeout = Seconds("--timeout", *typed.timeout);
    if (typed.watch)
        options.watch = typed.watch->empty() ? DEFAULT_WATCH_SECONDS : Seconds("--watch", *typed.watch);
    if (typed.count)
        (command.takes & TAKES_WATCH ? options.count : options.log.count) = Count(*typed.count);
    CheckLog(typed, command, options);
    if (options.count && !options.watch)
        throw CLI::ValidationError("--count", "needs --watch");
    if (options.watch && options.json && options.count == 0)
        throw CLI::ValidationError("--watch", "with --json needs --count, since the document must end");
    if (options.watch && options.form == Form::Long)
        throw CLI::ValidationError("--watch", "shows a table; it does not go with --long");
    if (command.columns)
        CheckList(typed, command, options);
    if (!typed.arguments.empty()) {
        std::string& argument = command.takes & TAKES_CODE   ? options.code
                                : command.takes & TAKES_FILE ? options.file
                                                             : options.wwpn;
        argument = fmt::format("{}", fmt::join(typed.arguments, " "));
        options.words = typed.arguments;
    }
    if (!options.code.empty() && options.form == Form::Table && !typed.form)
        options.form = Form::Long; // one code
    if (command.takes & (TAKES_NEW | TAKES_PORT))
        options.wwpn = CanonicalWwn(options.wwpn).value_or(options.wwpn);
    return options;
}

void AddArgument(CLI::App& app, const Argument& argument, Typed& typed) {
    CLI::Option* added = app.add_option(argument.name, typed.arguments, argument.description);
    added->type_name("")->expected(argument.least, argument.most)->required(argument.least > 0);
}

void AddOption(CLI::App& app, const Option& option, Typed& typed) {
    CLI::Option* added = nullptr;
    if (const auto* flag = std::get_if<bool Typed::*>(&option.member)) {
        added = app.add_flag(option.names, typed.**flag, option.description);
    } else if (const auto* list = std::get_if<std::vector<std::string> Typed::*>(&option.member)) {
        auto& texts = typed.**list;
        added = app.add_option_function<std::string>(
            option.names, [&texts](const std::string& text) { texts.push_back(text); }, option.description);
        added->type_name(option.placeholder)->expected(1)->trigger_on_parse();
    } else {
        const auto member = std::get<std::optional<std::string> Typed::*>(option.member);
        added = app.add_option_function<std::string>(
            option.names, [&typed, member](const std::string& text) { typed.*member = text; }, option.description);
        const bool needed = option.value == ValueOf::Needed;
        added->type_name(needed ? option.placeholder : fmt::format("[{}]", option.placeholder));
        added->expected(needed ? 1 : 0, 1);
    }
    added->group(option.group);
}

const char* GroupPurpose(std::string_view group) {
    return group == LOG_GROUP ? "Tell what the agent's log has: requests, problems, where the time goes."
                              : "List, create and delete NPIV virtual ports.";
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
            parent = root.add_subcommand(group, GroupPurpose(group));
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

using Arguments = std::vector<std::string>;

// The command's words, and the arguments with the words first: options may stand before them. The parser calls a wrong
// or missing command merely unexpected; here it is named for what it is.
struct CommandWords {
    std::string known;   // "vport create"
    std::string problem; // empty: none
    Arguments arguments;
};

bool IsOption(const std::string& argument) {
    return argument.size() > 1 && argument.starts_with('-');
}

// Whether the argument is the value of the option before it.
bool IsValueOf(const std::string& option, const std::string& argument) {
    const Option* found = FindOption(option);
    if (!found || found->value == ValueOf::Flag)
        return false;
    return found->value == ValueOf::Needed || (!argument.empty() && argument[0] >= '0' && argument[0] <= '9');
}

// An option that stands before the command, when there is none of that name.
std::string ProblemOf(const std::string& option) {
    const std::string name = option.substr(0, option.find('='));
    const auto isGeneral = [&](const char* general) { return name == general; };
    if (FindOption(name) || FindOption(name.substr(0, 2)) || std::ranges::any_of(GENERAL_OPTIONS, isGeneral))
        return {};
    std::vector<std::string> names(std::begin(GENERAL_OPTIONS), std::end(GENERAL_OPTIONS));
    for (const Option& known : OptionTable())
        names.push_back(LongName(known));
    return fmt::format("There is no option '{}'{}", name, DidYouMean(name, names));
}

// What the parser could not place, in the order in which it was typed.
std::string ProblemOf(const Arguments& extras, const Command& command) {
    const auto option = std::ranges::find_if(extras, IsOption);
    if (option == extras.end())
        return fmt::format("{} not expected: {}", extras.size() == 1 ? "This argument was" : "These arguments were",
                           fmt::join(extras, " "));
    const std::string name = option->substr(0, option->find('='));
    std::vector<std::string> names{"--help"};
    for (const Option& known : OptionTable())
        if (Has(command, known))
            names.push_back(LongName(known));
    return fmt::format("'{}' has no option '{}'{}", command.name, name, DidYouMean(name, names));
}

// "--adapter=" as "--adapter" and an empty text: the parser would take the next argument for the value. "--sort -name"
// as "--sort=-name": it would take the value for an option.
Arguments WithClearValues(const Arguments& arguments) {
    Arguments split;
    for (const std::string& argument : arguments) {
        const Option* option = argument.ends_with('=') ? FindOption(argument.substr(0, argument.size() - 1)) : nullptr;
        if (option && option->value != ValueOf::Flag)
            split.insert(split.end(), {argument.substr(0, argument.size() - 1), ""});
        else if (!split.empty() && split.back() == "--sort" && argument.starts_with("-"))
            split.back() += '=' + argument;
        else
            split.push_back(argument);
    }
    return split;
}

CommandWords ReadWords(const CLI::App& root, const Arguments& arguments) {
    const auto childrenOf = [](const CLI::App* app) {
        return app->get_subcommands([](const CLI::App*) { return true; });
    };
    CommandWords words;
    Arguments options;
    bool asksForText = false; // help or version
    const CLI::App* app = &root;
    auto at = arguments.begin();
    for (; at != arguments.end() && !childrenOf(app).empty(); ++at) {
        if (IsOption(*at)) {
            if (const std::string problem = ProblemOf(*at); !problem.empty()) {
                words.problem = problem;
                return words;
            }
            asksForText = asksForText || *at == "-h" || *at == "--help" || *at == "--version";
            options.push_back(*at);
            if (at + 1 != arguments.end() && IsValueOf(*at, *(at + 1)))
                options.push_back(*++at);
            continue;
        }
        const auto children = childrenOf(app);
        const auto found =
            std::ranges::find_if(children, [&](const CLI::App* child) { return child->check_name(*at); });
        if (found == children.end()) {
            std::vector<std::string> names;
            for (const CLI::App* child : children)
                names.push_back(child->get_name());
            words.problem = fmt::format("There is no command '{}{}{}'{}", words.known, words.known.empty() ? "" : " ",
                                        *at, DidYouMean(*at, names));
            return words;
        }
        app = *found;
        words.known += (words.known.empty() ? "" : " ") + app->get_name();
        words.arguments.push_back(*at);
    }
    if (words.known == LOG_GROUP && !asksForText) { // the group's name alone
        words.known += fmt::format(" {}", LOG_DEFAULT);
        words.arguments.emplace_back(LOG_DEFAULT);
    } else if (!childrenOf(app).empty() && !asksForText) {
        words.problem = "A command is needed.";
    }
    words.arguments.insert(words.arguments.end(), options.begin(), options.end());
    words.arguments.insert(words.arguments.end(), at, arguments.end());
    return words;
}

// Of a command line that is not understood.
bool AsksForJson(const Arguments& arguments) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool valueFollows = (arguments[i] == "-o" || arguments[i] == "--format") && i + 1 < arguments.size();
        if (arguments[i] == "--json" || arguments[i] == "-ojson" || arguments[i] == "--format=json" ||
            (valueFollows && arguments[i + 1] == "json"))
            return true;
    }
    return false;
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
    root.allow_windows_style_options(false); // a file's name may begin with a slash
    root.set_version_flag("--version", std::string("fcoectl ") + FCOECTL_VERSION, "Print the version and exit")
        ->group("Help");
    root.formatter(MakeHelpFormatter());
    root.footer(MainHelpFooter());

    std::vector<std::unique_ptr<Typed>> typed; // one a command: their options share names
    for (const Command& command : Commands()) {
        typed.push_back(std::make_unique<Typed>());
        CLI::App& app = AddCommand(root, command);
        if (const Argument* argument = ArgumentOf(command))
            AddArgument(app, *argument, *typed.back());
        for (const Option& option : OptionTable())
            if (Has(command, option))
                AddOption(app, option, *typed.back());
    }
    NameHelp(root);

    const CommandWords words = ReadWords(root, WithClearValues(arguments));
    request.usage = words.problem;
    request.hint = fmt::format("Try 'fcoectl {}{}--help'.", words.known, words.known.empty() ? "" : " ");
    try {
        if (request.usage.empty()) {
            root.parse(Arguments(words.arguments.rbegin(), words.arguments.rend()));
            const auto found = std::ranges::find(Commands(), words.known, &Command::name);
            request.options = Checked(*typed[static_cast<std::size_t>(found - Commands().begin())], *found);
            request.command = &*found;
            return request;
        }
    } catch (const CLI::CallForVersion& version) {
        request.text = std::string(version.what()) + "\n";
    } catch (const CLI::CallForHelp&) {
        request.text = root.help();
    } catch (const CLI::ExtrasError&) {
        request.usage = ProblemOf(root.remaining(true), *std::ranges::find(Commands(), words.known, &Command::name));
    } catch (const CLI::ParseError& error) {
        request.usage = FirstLine(error.what());
    }
    if (std::ranges::find(arguments, POWERSHELL_SCRIPT) != arguments.end())
        request.hint = "PowerShell takes braces for a script: write the identifier in quotes, or without its braces.";
    request.options.json = AsksForJson(arguments);
    return request;
}

} // namespace fcoectl
