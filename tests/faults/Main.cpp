// Runs the agent among neighbours that fail in every way there is, and prints what came of it. Exit code 0: it always
// came back, and all was as before afterwards.
#include <cstdio>
#include <exception>
#include <filesystem>

#include <CLI/CLI.hpp>

#include "tests/faults/Cells.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"
#include "tests/kit/GuardHeap.h"

int main(int argc, char** argv) {
    if (GuardHeap::InstallIfAsked())
        std::fputs("on the guard-page heap\n", stderr);
    Matrix::Options options;
    CLI::App app("The agent's answers to failing neighbours", "fcoefaults");
    app.add_option("--sample", options.every, "Run every Nth cell")->check(CLI::PositiveNumber)->option_text("N");
    app.add_option("--neighbour", options.neighbour, "Run the cells of one neighbour")
        ->check(CLI::IsMember({"library", "core agent", "DCB service", "registry", "file system", "memory"}))
        ->option_text("NAME");
    app.add_option("--function", options.function, "Run the cells of one row of the table")->option_text("NAME");
    app.add_flag("--verbose", options.verbose, "Name each cell before it runs");
    CLI11_PARSE(app, argc, argv);

    try {
        // The agent's log lies in the root of the current drive when the registry names no folder for it: of the Wine
        // prefix's own, where no other test finds it.
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        Matrix matrix(options);
        FaultHost host;
        const std::pair<const char*, void (*)(FaultHost&, Matrix&)> neighbours[] = {
            {"library", RunLibraryCells},   {"core agent", RunCoreAgentCells}, {"DCB service", RunDcbCells},
            {"registry", RunRegistryCells}, {"file system", RunFileCells},     {"memory", RunMemoryCells},
        };
        for (const auto& [name, run] : neighbours)
            if (matrix.Wants(name))
                run(host, matrix);
        return matrix.Finish() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fcoefaults: %s\n", error.what());
        return 2;
    }
}
