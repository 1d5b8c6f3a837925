// What the log shows to be wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/log/MessageTable.h"

namespace agentlog {

// Texts are valid while the listener is called.
struct Problem {
    std::uint64_t line = 0;    // of the file, from 1
    std::uint32_t process = 0; // that wrote it
    std::uint32_t thread = 0;
    std::uint32_t time = 0;            // milliseconds of the day
    std::uint64_t request = 0;         // its number; 0: outside of any
    std::string_view requestOperation; // without its class
    std::uint32_t adapter = 0;         // which one of the request's, from 1 in the core agent's order; 0: none of them
    std::string_view operation;        // the innermost one that is open; empty: none
    Neighbour neighbour = Neighbour::None;
    std::string_view function; // of the neighbour; empty: none in particular
    Argument kind = Argument::Other;
    std::optional<std::uint32_t> number; // a status, an error, an HRESULT, as kind says
    std::string_view adapterId;          // where the line names an adapter
    std::string_view text; // of the line, in the system's code page; empty: that a line is missing tells it
    const char* meaning = "";
    const char* advice = "";
};

// "invalid handle (status 3)", "error 126", "0x80070005"; empty without a number.
[[nodiscard]] std::string NumberText(Argument kind, std::optional<std::uint32_t> number);

} // namespace agentlog
