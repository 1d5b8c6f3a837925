// Has two processes of eight threads each call every operation of the agent at random, for as long as wanted, while
// adapters come, go and change, the DCB service restarts, and the agent is uninstalled, started, unloaded and loaded.
// Every answer is judged. Exit code 0: all was as it should be.
#include <cstdio>
#include <exception>
#include <random>

#include <CLI/CLI.hpp>

#include "tests/soak/Child.h"
#include "tests/soak/Parent.h"

int main(int argc, char** argv) {
    double minutes = 1;
    unsigned seed = std::random_device()() % 1000000;
    int child = -1;
    std::string memory, folder;
    CLI::App app("The agent under load, with every answer judged", "fcoesoak");
    app.add_option("minutes", minutes, "How long; 1 by default")->check(CLI::PositiveNumber)->option_text("MINUTES");
    app.add_option("--seed", seed, "Repeats the random choices of another run")->option_text("N");
    // How the program starts its children.
    app.add_option("--child", child)->group("");
    app.add_option("--memory", memory)->group("");
    app.add_option("--folder", folder)->group("");
    CLI11_PARSE(app, argc, argv);

    try {
        if (child >= 0)
            return soak::RunChild(std::wstring(memory.begin(), memory.end()),
                                  std::wstring(folder.begin(), folder.end()), static_cast<unsigned>(child), seed);
        return soak::RunParent(minutes, seed) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fcoesoak: %s\n", error.what());
        return 2;
    }
}
