#include "bench/Measure.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>

#include <windows.h>

namespace {

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double Seconds(const std::function<void()>& run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs until the last few times are as good as those before them, or for a second.
void WarmUp(const std::function<void()>& run, const std::vector<double>& times) {
    constexpr std::ptrdiff_t GROUP = 6;
    constexpr double SETTLED = 0.97, LONG_ENOUGH = 1.0;
    for (double spent = 0; spent < LONG_ENOUGH;) {
        for (std::ptrdiff_t i = 0; i < GROUP && spent < LONG_ENOUGH; ++i) {
            run();
            spent += times.back();
        }
        if (std::ssize(times) < 2 * GROUP || spent >= LONG_ENOUGH)
            continue;
        const double last = Median({times.end() - GROUP, times.end()});
        const double before = Median({times.end() - 2 * GROUP, times.end() - GROUP});
        if (last > before * SETTLED)
            return;
    }
}

} // namespace

Pair MeasureInTurn(const std::function<void()>& prepare, const std::function<void()>& agent,
                   const std::function<void()>& floor) {
    std::vector<double> agents, floors;
    const auto RunPair = [&] {
        // Neither is always the one that finds what the other left in the processor's caches.
        const bool agentFirst = agents.size() % 2 == 0;
        prepare();
        if (!agentFirst)
            floors.push_back(Seconds(floor));
        agents.push_back(Seconds(agent));
        if (agentFirst)
            floors.push_back(Seconds(floor));
    };
    WarmUp(RunPair, agents);
    agents.clear();
    floors.clear();

    constexpr std::size_t FEWEST = 5, MOST = 400;
    constexpr double LONG_ENOUGH = 1.0; // seconds of each
    std::vector<double> ratios;
    for (double spent = 0; agents.size() < FEWEST || (spent < LONG_ENOUGH && agents.size() < MOST);) {
        RunPair();
        ratios.push_back(agents.back() / floors.back());
        spent += agents.back();
    }
    return {Median(agents), Median(floors), Median(ratios)};
}

double MeasureOne(int atOnce, const std::function<void()>& run) {
    constexpr int RUNS = 21;
    std::vector<double> times;
    run();
    for (int i = 0; i < RUNS; ++i)
        times.push_back(Seconds([&] {
                            for (int j = 0; j < atOnce; ++j)
                                run();
                        }) /
                        atOnce);
    return Median(times);
}

void ReadLineTime() {
    SYSTEMTIME time;
    LARGE_INTEGER counter;
    GetLocalTime(&time);
    QueryPerformanceCounter(&counter);
}

LogVolume MeasureLog(const std::filesystem::path& file) {
    LogVolume volume;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line; std::getline(stream, line); ++volume.lines)
        volume.bytes += line.size() + 1;
    return volume;
}
