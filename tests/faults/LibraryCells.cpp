// The vendor library: every export and handler that the agent calls, with all that it can do wrong.
#include "tests/faults/Cells.h"
#include "tests/faults/Moments.h"

namespace {

constexpr unsigned LAST_STATUS = 29;
constexpr unsigned MORE_DATA = 7;

struct FUNCTION {
    const char* name;
    unsigned count = 0; // of a list function: entries that the first adapter has
    bool text = false;  // hands out text
};

constexpr FUNCTION FUNCTIONS[] = {
    {"HBA_RegisterLibraryV2"},
    {"ORVAN_InitializeLibrary"},
    {"ORVAN_GetFCoEControllerInfo", 0, true},
    {"ORVAN_GetFCoEControllerHandle"},
    {"ORVAN_GetFCAndNICProperties", 0, true},
    {"ORVAN_GetTargetList", 3},
    {"ORVAN_GetVlanIdList", 2},
    {"ORVAN_SendReadCapacity16"},
    {"ORVAN_RescanScsiBus"},
    {"ORVAN_GeneratePortWWN"},
    {"ORVAN_CreateVPort"},
    {"ORVAN_RemoveVPort"},
    {"ORVAN_GetFCPortList", 2},
    {"CloseAdapter"},
    {"GetAdapterAttributes", 0, true},
    {"GetAdapterPortAttributes", 0, true},
    {"GetPortStatistics"},
    {"GetFcpTargetMapping", 6, true},
    {"ScsiInquiry"},
    {"ScsiReadCapacityV2"},
};

std::vector<FaultKind> Kinds(const FUNCTION& function) {
    std::vector<FaultKind> kinds = {
        {"missing", R"("missing": true)", Harm::Missing},
        {"exception", R"("throw": true)"},
        {"slow", R"("delay_ms": 3)", Harm::None},
        {"success without work", R"("status": 0)"},
        {"garbage", R"("garbage": true)"},
        {"garbage and a failure", R"("garbage": true, "status": 1)"},
    };
    for (unsigned status = 1; status <= LAST_STATUS; ++status)
        kinds.push_back({fmt::format("status {}", status), fmt::format(R"("status": {})", status)});
    if (function.text)
        kinds.push_back({"unterminated text", R"("unterminated": true)"});
    if (function.count) {
        const unsigned counts[] = {0,       1,        function.count, function.count - 1, function.count + 1,
                                   1 << 16, 1u << 31, 0xFFFFFFFF};
        for (const unsigned count : counts) {
            kinds.push_back({fmt::format("status {}, count {}", MORE_DATA, count),
                             fmt::format(R"("status": {}, "count": {})", MORE_DATA, count)});
            kinds.push_back(
                {fmt::format("success, count {}", count), fmt::format(R"("status": 0, "count": {})", count)});
            kinds.push_back({fmt::format("count {}", count), fmt::format(R"("count": {})", count)});
        }
        kinds.push_back({"garbage, count told", R"("garbage": true, "count": 2)"});
    }
    return kinds;
}

} // namespace

void RunLibraryCells(FaultHost& host, Matrix& matrix) {
    for (const FUNCTION& function : FUNCTIONS) {
        matrix.Row("library", function.name);
        for (const FaultKind& kind : Kinds(function))
            RunMoments(host, matrix, FaultHost::Neighbour::Library, function.name, kind);
    }
}
