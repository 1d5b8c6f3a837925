#include "simulator/simctl/Run.h"

#include <algorithm>
#include <functional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "simulator/simctl/Verbs.h"
#include "simulator/topology/JsonReader.h"

namespace simctl {
namespace {

// What was typed, and the verb that runs with it.
struct Typed {
    CheckOptions check;
    UseOptions use;
    SetOptions set;
    WatchOptions watch;
    CallsOptions calls;
    std::string script;
    VerifyOptions verify;
    bool json = false;
    std::function<int(Console&)> run;
};

void AddChecking(CLI::App& app, Typed& typed) {
    auto* check =
        app.add_subcommand("check", "Tell all that is wrong or odd in topology files; exit code 1 when they are wrong");
    check->add_option("FILE", typed.check.files, "The files (default: the topology in use)");
    check->add_flag("--strict", typed.check.strict, "Warnings are errors");
    check->add_flag("--json", typed.check.json, "One JSON document instead of lines");
    check->callback([&typed] { typed.run = [&](Console& console) { return CheckFiles(console, typed.check); }; });

    auto* use =
        app.add_subcommand("use", "Have the machine's processes take a topology file: the registry value Topology");
    auto* file = use->add_option("FILE", typed.use.file, "The file, which is checked first");
    auto* builtIn = use->add_flag("--default", typed.use.builtIn, "The built-in topology");
    file->excludes(builtIn);
    use->callback([&typed] {
        if (typed.use.file.empty() && !typed.use.builtIn)
            throw CLI::RequiredError("FILE or --default");
        typed.run = [&](Console& console) { return Use(console, typed.use); };
    });

    auto* show = app.add_subcommand("show", "Which topology is in use and why, its adapters, created ports, errors");
    show->add_flag("--json", typed.json, "One JSON document instead of lines");
    show->callback([&typed] { typed.run = [&](Console& console) { return Show(console, typed.json); }; });
}

void AddChanging(CLI::App& app, Typed& typed) {
    auto* set = app.add_subcommand("set", "Change one value of the topology in use, its comments kept");
    set->footer("simctl set /adapters/0/port/state 3\n"
                "simctl set /adapters/0/vlans/- '{\"id\": 300}'      adds one to the list\n"
                "simctl set /adapters/0/dcb '{\"enabled\": 0}'       merges; null takes a key away\n"
                "simctl set /faults/0 null");
    set->add_option("POINTER", typed.set.pointer, "Where: a JSON pointer (RFC 6901)")->required();
    set->add_option("VALUE", typed.set.value, "JSON; what is none is taken as a text")->required();
    set->add_option("--file", typed.set.file, "Change this file instead");
    set->callback([&typed] { typed.run = [&](Console& console) { return Set(console, typed.set); }; });

    auto* script = app.add_subcommand("script", "Play a list of timed changes into the running world");
    script->footer("FILE holds a list of steps as the \"timeline\" of a topology does:\n"
                   "[{\"after_seconds\": 5, \"patch\": [{\"op\": \"replace\", \"path\": "
                   "\"/adapters/0/port/state\", \"value\": 3}]}]\n"
                   "No file is changed. Ctrl+C: the steps that are left are not taken.");
    script->add_option("FILE", typed.script, "The steps: a list, or an object with \"timeline\"")->required();
    script->callback([&typed] { typed.run = [&](Console& console) { return PlayScript(console, typed.script); }; });

    auto* reset = app.add_subcommand("reset", "Forget created and removed virtual ports; start the timeline anew");
    reset->callback([&typed] { typed.run = Reset; });
}

void AddWatching(CLI::App& app, Typed& typed) {
    auto* watch = app.add_subcommand("watch", "Print what changes: the topology, its errors, created ports");
    watch->add_option("--interval", typed.watch.interval, "Seconds between two looks")
        ->check(CLI::Range(0.01, 3600.0))
        ->capture_default_str();
    watch->add_option("--changes", typed.watch.changes, "End after so many changes");
    watch->callback([&typed] { typed.run = [&](Console& console) { return Watch(console, typed.watch); }; });

    auto* calls = app.add_subcommand("calls", "Print the call log");
    calls->add_option("FILE", typed.calls.file, "The log (default: the one that is configured)");
    calls->add_flag("--follow", typed.calls.follow, "Go on with what is logged from now on");
    calls->add_option("--function", typed.calls.functions, "Only calls of this function; may be repeated")->take_all();
    calls->add_option("--module", typed.calls.modules, "Only calls into this module, such as orvanhapi")->take_all();
    calls->add_option("--process", typed.calls.processes, "Only calls of the process with this number")->take_all();
    calls->add_option("--last", typed.calls.last, "Only so many lines of the end");
    calls->callback([&typed] { typed.run = [&](Console& console) { return Calls(console, typed.calls); }; });
}

void AddVerifying(CLI::App& app, Typed& typed) {
    VerifyOptions& options = typed.verify;
    auto* verify =
        app.add_subcommand("verify", "Tell where a vendor library or a core agent is not what the agent expects");
    verify->footer("simctl verify --library orvanhapi.dll --core-agent CoreAgnt.dll\n"
                   "Only calls that read are made, each process of its own: a crash and a hang are deviations, too.\n"
                   "Without --adapter the library is asked for the adapters of the core agent that is given, of the\n"
                   "topology when it is the simulated one, or else of this machine.");
    auto* library = verify->add_option("--library", options.library, "The vendor library's file");
    auto* core = verify->add_option("--core-agent", options.coreAgent, "The core agent's file");
    verify->add_option("--adapter", options.adapters, "An identifier that the library has to know; may be repeated")
        ->take_all();
    verify->add_option("--limit", options.limit, "Seconds until a call counts as hanging")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    verify->add_option("--slow", options.slowMs, "Milliseconds from which on a call counts as slow")
        ->capture_default_str();
    verify->add_flag("--json", options.json, "One JSON document instead of lines");
    auto* rules = verify->add_flag("--rules", options.rules, "Print what is asked and what follows, as a table");
    verify->add_option("--report-to", options.reportTo)->group("");
    verify->add_option("--skip", options.skipped)->take_all()->group("");
    verify->callback([&typed, library, core, rules] {
        if (library->count() + core->count() + rules->count() == 0)
            throw CLI::RequiredError("--library or --core-agent");
        typed.run = [&](Console& console) { return Verify(console, typed.verify); };
    });
}

void AddPrinting(CLI::App& app, Typed& typed) {
    auto* functions = app.add_subcommand("functions", "List the functions that faults can be declared for");
    functions->add_flag("--json", typed.json, "One JSON document, with module and kind of result");
    functions->callback(
        [&typed] { typed.run = [&](Console& console) { return PrintFunctions(console, typed.json); }; });
    app.add_subcommand("default", "Print the built-in topology, a good start for one's own")->callback([&typed] {
        typed.run = PrintDefault;
    });
    app.add_subcommand("schema", "Print the JSON Schema of topology files, for editors")->callback([&typed] {
        typed.run = PrintSchema;
    });
}

void AddSettingUp(CLI::App& app, Typed& typed) {
    auto* setup =
        app.add_subcommand("setup", "Register the suite that lies in this program's folder, start its service");
    setup->callback([&typed] { typed.run = SetUp; });
    auto* remove = app.add_subcommand("remove", "Undo setup: no registry value and no service stays behind");
    remove->callback([&typed] { typed.run = Remove; });
}

std::vector<std::string> Verbs(const CLI::App& app) {
    std::vector<std::string> verbs;
    for (const auto* verb : app.get_subcommands({}))
        verbs.push_back(verb->get_name());
    return verbs;
}

// The options that stand where the mistake is.
std::vector<std::string> OptionsOf(const CLI::App& app, const std::string& verb) {
    std::vector<std::string> options;
    for (const auto* found : app.get_subcommands([&](const CLI::App* one) { return one->get_name() == verb; })) {
        for (const auto* option : found->get_options([](const CLI::Option* one) { return !one->get_lnames().empty(); }))
            options.push_back("--" + option->get_lnames().front());
    }
    return options;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string nearest = sim::NearestWord(word, candidates);
    return nearest.empty() ? std::string() : "; did you mean \"" + nearest + "\"?";
}

// What is said of arguments that the parser did not take; empty: it says it itself.
std::string Mistyped(const CLI::App& app, const std::vector<std::string>& arguments) {
    const auto verbs = Verbs(app);
    if (arguments.empty())
        return "a verb is missing; see simctl --help";
    const std::string& verb = arguments.front();
    if (!verb.starts_with("-") && std::ranges::find(verbs, verb) == verbs.end())
        return "there is no verb \"" + verb + "\"" + DidYouMean(verb, verbs);
    const auto options = OptionsOf(app, verb);
    for (const auto& argument : arguments) {
        const std::string option = argument.substr(0, argument.find('='));
        if (option.starts_with("--") && option.size() > 2 && std::ranges::find(options, option) == options.end())
            return "simctl " + verb + " has no option \"" + option + "\"" + DidYouMean(option, options);
    }
    return {};
}

// A value may begin with a minus: what follows the pointer is no option.
void ProtectValue(std::vector<std::string>& arguments) {
    if (arguments.empty() || arguments.front() != "set")
        return;
    const auto pointer =
        std::ranges::find_if(arguments, [](const std::string& one) { return one.empty() || one.starts_with('/'); });
    if (pointer != arguments.end() && std::ranges::find(arguments, "--") == arguments.end() &&
        (pointer == arguments.begin() || *(pointer - 1) != "--file"))
        arguments.insert(pointer, "--");
}

} // namespace

int Run(Console& console, std::vector<std::string> arguments) {
    CLI::App app("Checks, chooses and changes the topology of the simulated suite", "simctl");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 what was given or is in use is wrong, 2 the command line is wrong.\n"
               "simctl VERB --help tells more.");
    Typed typed;
    AddChecking(app, typed);
    AddChanging(app, typed);
    AddWatching(app, typed);
    AddVerifying(app, typed);
    AddPrinting(app, typed);
    AddSettingUp(app, typed);
    ProtectValue(arguments);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend())); // it takes them last one first
    } catch (const CLI::ParseError& error) {
        std::ostringstream out, err;
        if (app.exit(error, out, err) == 0) {
            console.Out(out.str());
            return GOOD;
        }
        const std::string mistyped = Mistyped(app, arguments);
        console.Err("simctl: " + (mistyped.empty() ? std::string(error.what()) : mistyped) + "\n");
        return USAGE;
    }
    return typed.run(console);
}

} // namespace simctl
