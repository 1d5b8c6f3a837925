#include "tools/fcoectl/TimeLimit.h"

namespace fcoectl {

void TimeLimit::Restart() {
    if (m_seconds)
        Set(Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*m_seconds)),
            false);
}

void TimeLimit::Pause() {
    Set(std::nullopt, false);
}

void TimeLimit::Finish() {
    Set(std::nullopt, true);
}

void TimeLimit::Set(std::optional<Clock::time_point> deadline, bool finished) {
    const std::lock_guard guard(m_mutex);
    m_deadline = deadline;
    m_finished = finished;
    m_changed.notify_all();
}

bool TimeLimit::Wait() {
    std::unique_lock lock(m_mutex);
    while (!m_finished) {
        const auto deadline = m_deadline;
        if (!deadline)
            m_changed.wait(lock);
        else if (Clock::now() >= *deadline)
            return false;
        else
            m_changed.wait_until(lock, *deadline);
    }
    return true;
}

} // namespace fcoectl
