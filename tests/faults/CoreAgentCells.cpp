// The core agent: its module is missing, and every slot that the agent calls fails. A module that the registry names
// as the core agent is trusted to have its one export, so there is no cell without it.
#include <fstream>
#include <string>

#include "tests/faults/Cells.h"
#include "tests/faults/Moments.h"
#include "tests/faults/RegistryKeys.h"
#include "tests/kit/ProgramFolder.h"

using namespace std::string_literals;

namespace {

// Loads the agent without a core agent: the first start fails, the next ones do not, and the operations do what they
// can: there is no list of adapters and no configuration lock.
std::string CheckWithout(FaultHost& host, const std::wstring& location, const Operation& operation) {
    const std::wstring healthy = (ProgramFolder() / L"CoreAgnt.dll").wstring();
    host.Unload();
    host.Suite().Hive().Set(CORE_AGENT_KEY, L"InstalledDir", location);
    std::string problem;
    if (host.Load())
        problem = "started";
    else if (!host.Load())
        problem = "the second start failed";
    else
        problem = host.CheckWithoutCoreAgent(operation);
    host.Unload();
    host.Suite().Hive().Set(CORE_AGENT_KEY, L"InstalledDir", healthy);
    if (!host.Load())
        return "afterwards there is no agent";
    return problem.empty() ? host.CheckHealth(true) : problem;
}

void RunModuleCells(FaultHost& host, Matrix& matrix) {
    const TempFolder folder;
    const auto noModule = folder.Path() / L"CoreAgnt.dll";
    std::ofstream(noModule) << "no module";
    struct Location {
        const char* name;
        std::wstring path;
    };
    const Location locations[] = {
        {"no location", L""},
        {"missing file", (folder.Path() / L"missing.dll").wstring()},
        {"missing drive", L"Q:\\CoreAgnt.dll"},
        {"folder", folder.Path().wstring()},
        {"file that is no module", noModule.wstring()},
    };
    matrix.Row("core agent", "module");
    for (const Location& location : locations)
        for (const Operation& operation : Operations())
            matrix.Cell(fmt::format("{}, {}", location.name, operation.name),
                        [&] { return CheckWithout(host, location.path, operation); });
}

} // namespace

void RunCoreAgentCells(FaultHost& host, Matrix& matrix) {
    RunModuleCells(host, matrix);
    std::vector<FaultKind> kinds = {
        {"exception", R"("throw": true)"},
        {"slow", R"("delay_ms": 3)", Harm::None},
        {"success without work", R"("status": 0)"},
    };
    for (const unsigned status : {1u, 2u, 5u, 255u, 0x80004005u, 0xFFFFFFFFu})
        kinds.push_back({fmt::format("status {:#x}", status), fmt::format(R"("status": {}, "detail": 9)", status)});
    for (const char* function : {"GetCoreAgentPvt", "WaitForApplyDone", "EnumerateAdapters", "GetAdapterInfo",
                                 "StartLock", "DoneLock", "SupportsFcoe"}) {
        matrix.Row("core agent", function);
        // The module's interface, and an adapter's names, are asked for once.
        const bool lasting = function == "GetCoreAgentPvt"s || function == "GetAdapterInfo"s;
        for (const FaultKind& kind : kinds)
            RunMoments(host, matrix, FaultHost::Neighbour::CoreAgent, function, kind, lasting);
        if (function != "StartLock"s)
            continue;
        for (const FaultKind& kind : {FaultKind{"failure, taken", R"("status": 5, "lock_taken": 1)"},
                                      FaultKind{"success, not taken", R"("lock_taken": 0)"},
                                      FaultKind{"exception, taken", R"("throw": true, "lock_taken": 1)"}})
            RunMoments(host, matrix, FaultHost::Neighbour::CoreAgent, function, kind);
    }
}
