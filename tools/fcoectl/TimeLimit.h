// How long an answer of the agent may take.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace fcoectl {

// One thread works, another waits for its end or for the limit. The time runs from Restart on and stands still after
// Pause.
class TimeLimit {
  public:
    // seconds: none is no limit.
    explicit TimeLimit(std::optional<double> seconds) : m_seconds(seconds) {}

    // Of the thread that works.
    void Restart();
    void Pause();
    void Finish();

    // Of the one that waits: whether the work came to its end before the limit.
    [[nodiscard]] bool Wait();

  private:
    using Clock = std::chrono::steady_clock;

    void Set(std::optional<Clock::time_point> deadline, bool finished);

    const std::optional<double> m_seconds;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Clock::time_point> m_deadline;
    bool m_finished = false;
};

} // namespace fcoectl
