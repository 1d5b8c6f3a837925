// Time, memory and log lines.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

struct Pair {
    double agent = 0; // seconds
    double floor = 0;
    double ratio = 0; // the median of the ratios of neighbouring runs
};

// Runs the two in turn, the one first and then the other: until their times have settled, and then until both have run
// for a while. Medians. prepare runs before each run of the agent and is not timed.
Pair MeasureInTurn(const std::function<void()>& prepare, const std::function<void()>& agent,
                   const std::function<void()>& floor);

// The median time of one run, in seconds, over runs of so many at once.
double MeasureOne(int atOnce, const std::function<void()>& run);

// What every line of the log has to read: the local time and the performance counter.
void ReadLineTime();

struct LogVolume {
    std::size_t lines = 0;
    std::size_t bytes = 0;
};
LogVolume MeasureLog(const std::filesystem::path& file);
