// OrvanDcb.exe, the simulated DCB service.
//
//   OrvanDcb [--topology FILE]              started by the service manager: serves as the service "OrvanDCB"
//   OrvanDcb [--topology FILE] -Embedding   started by COM or by hand: serves until its last object is released
//   OrvanDcb [--topology FILE] --install    registers service, class and proxy
//   OrvanDcb --uninstall                    undoes that
//
// --topology replaces the topology that the simulated suite is configured with.
#include <cstdio>
#include <string>
#include <string_view>

#include <windows.h>

#include "simulator/com/ComObject.h"
#include "simulator/dcbservice/ClassServer.h"
#include "simulator/dcbservice/Registration.h"
#include "simulator/dcbservice/ServiceHost.h"

namespace {

constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILED = 1;
constexpr int EXIT_USAGE = 2;

struct Arguments {
    enum class Mode { Service, Embedding, Install, Uninstall } mode = Mode::Service;
    std::wstring topology;
};

bool Parse(int count, wchar_t** texts, Arguments& arguments) {
    using Mode = Arguments::Mode;
    for (int i = 1; i < count; ++i) {
        const std::wstring_view text = texts[i];
        if (text == L"--topology" && i + 1 < count)
            arguments.topology = texts[++i];
        else if (text == L"-Embedding" || text == L"/Embedding")
            arguments.mode = Mode::Embedding;
        else if (text == L"--install")
            arguments.mode = Mode::Install;
        else if (text == L"--uninstall")
            arguments.mode = Mode::Uninstall;
        else
            return false;
    }
    return true;
}

int Finish(const char* what, DWORD error) {
    if (error == NO_ERROR)
        return EXIT_OK;
    std::fprintf(stderr, "OrvanDcb: %s: error %lu (0x%lx)\n", what, error, error);
    return EXIT_FAILED;
}

HANDLE g_released;

// Serves until the last object or lock of a client is gone.
int ServeEmbedded() {
    g_released = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!g_released)
        return Finish("event", GetLastError());
    const ClassServer server([] { SetEvent(g_released); });
    if (SUCCEEDED(server.Result()))
        WaitForSingleObject(g_released, INFINITE);
    return Finish("class", static_cast<DWORD>(server.Result()));
}

} // namespace

int wmain(int count, wchar_t** texts) {
    Arguments arguments;
    if (!Parse(count, texts, arguments)) {
        std::fputs("usage: OrvanDcb [--topology FILE] [-Embedding | --install | --uninstall]\n", stderr);
        return EXIT_USAGE;
    }
    if (!arguments.topology.empty())
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", arguments.topology.c_str());

    switch (arguments.mode) {
    case Arguments::Mode::Embedding:
        return ServeEmbedded();
    case Arguments::Mode::Install:
        return Finish("install",
                      Install(arguments.topology.empty() ? L"" : L"--topology \"" + arguments.topology + L'"'));
    case Arguments::Mode::Uninstall:
        return Finish("uninstall", Uninstall());
    default:
        return Finish("service", RunService());
    }
}
