// How fast the log's performance counter runs. The log does not tell, and it may come from another machine.
#pragma once

#include <cstdint>
#include <string>

namespace agentlog {

struct LogLine;

// Milliseconds between two lines, by their counters.
class CounterRate {
  public:
    // 0: the counter does not count, and the times of the lines do.
    explicit CounterRate(double perMillisecond) : m_perMillisecond(perMillisecond) {}

    double Milliseconds(const LogLine& from, const LogLine& to) const {
        return Milliseconds(CounterAt(from), CounterAt(to));
    }
    // A point in time in ticks: of the counter, or of the day's milliseconds without one.
    std::uint64_t CounterAt(const LogLine& line) const;
    // Never negative: a log that was put together from several may go back.
    double Milliseconds(std::uint64_t from, std::uint64_t to) const;

  private:
    double m_perMillisecond;
};

// From the first and the last line of the file; from 10,000 ticks a millisecond, as almost all systems have it, when
// the two are too near to tell.
[[nodiscard]] CounterRate MeasureCounterRate(const std::wstring& path);

} // namespace agentlog
