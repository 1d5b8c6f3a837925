// fcoectl once for each argument, all in this process: `golden_host hbas "hbas --json"` prints what the two print, each
// after its command line and followed by its exit code. The agent is loaded and unloaded by each.
#include <iostream>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <io.h>

#include "tests/kit/CrashReport.h"
#include "tools/fcoectl/Run.h"

namespace {

class Captured : public fcoectl::Output {
  public:
    void Write(std::string_view text) override { out += text; }
    void WriteError(std::string_view text) override { err += text; }
    bool Failed() const override { return false; }

    std::string out;
    std::string err;
};

} // namespace

int main(int argc, char** argv) {
    InstallCrashReport();
    _setmode(1, _O_BINARY);
    for (int i = 1; i < argc; ++i) {
        std::istringstream words(argv[i]);
        std::vector<std::string> arguments;
        for (std::string word; words >> word;)
            arguments.push_back(word);
        Captured captured;
        const int exit = fcoectl::Run(arguments, captured);
        std::cout << "$ fcoectl " << argv[i] << '\n' << captured.out << captured.err << "[exit " << exit << "]\n\n";
    }
    std::cout.flush();
    return std::cout ? 0 : 1;
}
