// What of a fault each simulated function can show.
#pragma once

#include <cstddef>
#include <string_view>

namespace sim {

enum class Module { Library, Handlers, CoreAgent, DcbService, Wmi, SetupApi };

// Beside delay_ms, throw and missing, which all show.
enum Effect : unsigned {
    SHOWS_STATUS = 1,
    SHOWS_DETAIL = 2,
    SHOWS_COUNT = 4,
    SHOWS_LOCK_TAKEN = 8,
    SHOWS_GARBAGE = 16,
    SHOWS_UNTERMINATED = 32,
};

struct FunctionTraits {
    Module module = Module::Library;
    bool hasAdapter = false; // its calls are about an adapter that they name
    bool scsi = false;       // it sends a command to a target
    unsigned effects = SHOWS_STATUS;
};

// function: a place in FUNCTION_NAMES.
FunctionTraits TraitsOf(std::size_t function);
// "the core agent"
std::string_view ModuleText(Module module);
// Whether results of its functions are HRESULTs.
constexpr bool ReturnsHresults(Module module) {
    return module == Module::DcbService || module == Module::Wmi;
}

} // namespace sim
