// The tool for topology files: checks one, prints the built-in one as a start for others, lists the functions that
// faults can be declared for.
#include <cstdio>

#include <CLI/CLI.hpp>

#include <windows.h>

#include <shellapi.h>

#include "simulator/topology/Functions.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"

namespace {

int Check(const std::string& file) {
    try {
        const sim::Topology topology =
            file.empty() ? sim::LoadConfiguredTopology() : sim::LoadTopology(sim::Wide(file));
        std::printf("good: %zu adapters, %u logical units, %zu faults\n", topology.adapters.size(), topology.lunCount,
                    topology.faults.size());
        return 0;
    } catch (const sim::TopologyError& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace

int main() {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = count - 1; i > 0; --i) // CLI11 takes them last one first
        arguments.push_back(sim::Utf8(wide[i]));
    LocalFree(wide);

    CLI::App app("Tool for the topology files of the simulated suite", "simctl");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.require_subcommand(1);
    std::string file;
    int result = 0;
    auto* check = app.add_subcommand("check", "Check a topology; exit code 1 when it is wrong");
    check->add_option("FILE", file, "The topology file (default: the configured one)");
    check->callback([&] { result = Check(file); });
    auto* print = app.add_subcommand("default", "Print the built-in topology");
    print->callback([] {
        const auto text = sim::DefaultTopologyText();
        std::fwrite(text.data(), 1, text.size(), stdout);
    });
    auto* functions = app.add_subcommand("functions", "List the functions that faults can be declared for");
    functions->callback([] {
        for (const auto name : sim::FUNCTION_NAMES)
            std::printf("%.*s\n", static_cast<int>(name.size()), name.data());
    });
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return result;
}
