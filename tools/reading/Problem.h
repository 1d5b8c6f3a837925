// Something that an answer of the agent lacks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace reading {

// Texts are UTF-8.
struct Problem {
    std::string adapter;                // its device identifier; empty: it concerns all, or it cannot be told which
    std::string what;                   // was not read, one of those in What.h
    std::string function;               // that failed, or the module or service that is missing; empty: not known
    std::optional<std::int64_t> status; // what the function answered, as its neighbour counts; nothing: not known
    std::string text;                   // a sentence that names the adapter and tells what was not read, and why
    std::string advice;                 // a sentence; what can be done about it

    // Whether it is the same, told once more.
    bool operator==(const Problem& other) const {
        return adapter == other.adapter && what == other.what && function == other.function && status == other.status;
    }
};

} // namespace reading
