// When a declared fault shows itself, and in what state it finds the agent.
#pragma once

#include <string>

#include <fmt/format.h>

#include "tests/faults/FaultHost.h"
#include "tests/faults/Matrix.h"

struct Moment {
    const char* name;
    const char* members; // of the fault's entry
    bool cold;           // the agent has just been started
};

inline constexpr Moment MOMENTS[] = {
    {"each call, just started", "", true},
    {"each call", "", false},
    {"first call", R"(, "on_call": 1)", false},
    {"second call", R"(, "on_call": 2)", false},
};

struct FaultKind {
    std::string name;
    std::string members; // of the fault's entry
    Harm harm = Harm::Some;
};

// The cells of one function and one kind of fault: every operation at every moment.
inline void RunMoments(FaultHost& host, Matrix& matrix, FaultHost::Neighbour neighbour, const std::string& function,
                       const FaultKind& kind, bool lasting = false) {
    for (const Moment& moment : MOMENTS) {
        if (kind.harm == Harm::Missing && *moment.members)
            continue; // what is missing is missing at every call
        const FaultHost::Fault fault = {neighbour, function,    kind.members + moment.members,
                                        kind.harm, moment.cold, lasting};
        for (const auto& operation : Operations())
            matrix.Cell(fmt::format("{}, {}, {}", kind.name, moment.name, operation.name),
                        [&] { return host.CheckFault(fault, operation); });
    }
}
