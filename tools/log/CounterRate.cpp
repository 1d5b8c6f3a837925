#include "tools/log/CounterRate.h"

#include <cmath>
#include <optional>

#include "tools/log/LogFile.h"
#include "tools/log/LogLine.h"

namespace agentlog {
namespace {

constexpr double USUAL = 10000;
constexpr std::uint32_t DAY = 24 * 60 * 60 * 1000;
constexpr double LONG_ENOUGH = 1000; // milliseconds; the lines' times are exact to one
constexpr double TOLERANCE = 0.02;
constexpr std::uint64_t TAIL = 64 * 1024;

struct Moment {
    std::uint32_t process;
    std::uint32_t time;
    std::uint64_t counter;
};

// The first line from there on, or the last one, that is whole.
std::optional<Moment> MomentFrom(LogFile& file, std::uint64_t offset, bool last) {
    std::optional<Moment> found;
    file.GoTo(offset);
    while (const auto text = file.Next())
        if (const auto line = ParseLine(*text)) {
            found = Moment{line->process, line->time, line->counter};
            if (!last)
                break;
        }
    return found;
}

} // namespace

std::uint64_t CounterRate::CounterAt(const LogLine& line) const {
    return m_perMillisecond == 0 ? line.time : line.counter;
}

double CounterRate::Milliseconds(std::uint64_t from, std::uint64_t to) const {
    const double ticks = to > from ? static_cast<double>(to - from) : 0;
    return m_perMillisecond == 0 ? ticks : ticks / m_perMillisecond;
}

CounterRate MeasureCounterRate(const std::wstring& path) {
    LogFile file;
    if (!file.Open(path))
        return CounterRate(USUAL);
    const auto first = MomentFrom(file, 0, false);
    if (!first)
        return CounterRate(USUAL);
    if (first->counter == 0)
        return CounterRate(0);
    const std::uint64_t size = file.Size();
    const auto last = MomentFrom(file, size > TAIL ? size - TAIL : 0, true);
    // Another process may have run before a restart of the machine, which begins the count anew.
    if (!last || last->process != first->process || last->counter <= first->counter)
        return CounterRate(USUAL);
    const double milliseconds = (last->time + DAY - first->time) % DAY;
    if (milliseconds < LONG_ENOUGH)
        return CounterRate(USUAL);
    const double rate = static_cast<double>(last->counter - first->counter) / milliseconds;
    return CounterRate(std::abs(rate - USUAL) < TOLERANCE * USUAL ? USUAL : rate);
}

} // namespace agentlog
