// Whether a log of the agent has nothing but whole lines.
#pragma once

#include <filesystem>
#include <string>

namespace soak {

struct LogFigures {
    long long lines = 0, bad = 0;
    std::string firstBad;
};

// The log of this process, which nobody writes to any more.
LogFigures CheckLog(const std::filesystem::path& file);

} // namespace soak
