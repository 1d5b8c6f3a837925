// A line of the call log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simctl {

// Date, time, process, thread, module and version stand before the call, as far as the log has them.
struct CallLine {
    std::optional<std::uint32_t> process;
    std::string module;   // without .dll or .exe; empty: not told
    std::string function; // empty: the line is no call
};

CallLine ParseCallLine(std::string_view line);

} // namespace simctl
