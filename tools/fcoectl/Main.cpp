// fcoectl, the command-line host of the FCoE agent.
#include <exception>
#include <string>
#include <vector>

#include <windows.h>

#include <shellapi.h>

#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/LibrarySearch.h"
#include "tools/fcoectl/Run.h"
#include "tools/fcoectl/Text.h"

namespace {

std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i)
        texts.push_back(fcoectl::ToUtf8(arguments[i]));
    LocalFree(arguments);
    return texts;
}

} // namespace

int main() {
    fcoectl::RestrictLoading();
    fcoectl::StandardOutput output;
    try {
        const int exit = fcoectl::Run(Arguments(), output);
        // A call that hangs holds locks that the end of a process may wait for.
        if (exit == static_cast<int>(fcoectl::Exit::TimedOut))
            TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exit));
        return exit;
    } catch (const std::exception& exception) { // memory ran out while the answer was put together
        output.WriteError(std::string("fcoectl: ") + exception.what() + "\n");
        return static_cast<int>(fcoectl::Exit::AgentThrew);
    }
}
