// Memory: each allocation of each operation in turn fails, alone or with all after it.
#include "tests/faults/Cells.h"
#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"

void RunMemoryCells(FaultHost& host, Matrix& matrix) {
    for (const auto& operation : Operations()) {
        matrix.Row("memory", operation.name);
        for (const bool cold : {false, true}) {
            const auto count = host.CountAllocations(operation, cold);
            const std::string state = cold ? "just started, " : "";
            matrix.Cells(count, state + "allocation", [&](unsigned long long number) {
                return host.CheckMemory(operation, cold, number, Allocations::Failing::One);
            });
            matrix.Cells(count, state + "all from allocation", [&](unsigned long long number) {
                return host.CheckMemory(operation, cold, number, Allocations::Failing::OneAndAllAfter);
            });
        }
    }
}
