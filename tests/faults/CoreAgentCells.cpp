// The core agent: every slot that the agent calls. A module that lacks its one export is no core agent, and none that
// is there is trusted less.
#include <string>

#include "tests/faults/Cells.h"
#include "tests/faults/Moments.h"

using namespace std::string_literals;

void RunCoreAgentCells(FaultHost& host, Matrix& matrix) {
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
