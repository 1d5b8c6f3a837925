// The tool of the simulated suite's topologies.
#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include "simulator/simctl/Run.h"
#include "simulator/topology/Text.h"

namespace {

class ProgramConsole final : public simctl::Console {
  public:
    ProgramConsole() {
        // The C run time would change line ends.
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
    }
    void Out(std::string_view text) override { Write(STD_OUTPUT_HANDLE, stdout, text); }
    void Err(std::string_view text) override { Write(STD_ERROR_HANDLE, stderr, text); }

  private:
    static void Write(DWORD which, std::FILE* file, std::string_view text) {
        const HANDLE handle = GetStdHandle(which);
        DWORD mode = 0;
        if (GetConsoleMode(handle, &mode)) { // which would take bytes for its own code page
            const std::wstring wide = sim::Wide(text);
            WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &mode, nullptr);
            return;
        }
        std::fwrite(text.data(), 1, text.size(), file);
        std::fflush(file);
    }
};

} // namespace

int main() {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(sim::Utf8(wide[i]));
    LocalFree(wide);
    ProgramConsole console;
    return simctl::Run(console, std::move(arguments));
}
