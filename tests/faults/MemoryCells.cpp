// Memory: each allocation of each operation in turn fails, alone or with all after it.
#include <algorithm>
#include <stdexcept>
#include <string>

#include "tests/faults/Cells.h"
#include "tests/faults/DcbNeighbour.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"

namespace {

void RunOperation(FaultHost& host, Matrix& matrix, const Operation& operation, const std::string& circumstance) {
    for (const bool cold : {false, true}) {
        const auto count = host.CountAllocations(operation, cold);
        const std::string state = circumstance + (cold ? "just started, " : "");
        matrix.Cells(count, state + "allocation", [&](unsigned long long number) {
            return host.CheckMemory(operation, cold, number, Allocations::Failing::One);
        });
        matrix.Cells(count, state + "all from allocation", [&](unsigned long long number) {
            return host.CheckMemory(operation, cold, number, Allocations::Failing::OneAndAllAfter);
        });
    }
}

// Among those of the operation that asks the DCB service are those of its client, while it is connected.
void RunConnected(FaultHost& host, Matrix& matrix) {
    DcbNeighbour service;
    service.Bring(SERVICE_RUNNING);
    host.ShowOnline(true);
    if (host.HealthyAnswers().hbas.at(0).strFcoeLinkStatus != CQelString(L"Link up"))
        throw std::runtime_error("the agent is not connected to the DCB service");
    const auto operation =
        std::ranges::find_if(Operations(), [](const Operation& each) { return each.Is("EnumerateHBAs"); });
    matrix.Row("memory", "EnumerateHBAs of online ports");
    RunOperation(host, matrix, *operation, "connected, ");
    host.ShowOnline(false);
}

} // namespace

void RunMemoryCells(FaultHost& host, Matrix& matrix) {
    for (const auto& operation : Operations()) {
        matrix.Row("memory", operation.name);
        RunOperation(host, matrix, operation, "");
    }
    RunConnected(host, matrix);
}
