// The calls of the simulated functions: counted always, written as lines of text on demand.
//
// The lines go to the file that the environment variable ORVAN_SIM_CALLS names, which all simulated modules of all
// processes append to, and to memory while a test records them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include <windows.h>

#include "simulator/topology/Functions.h"

namespace sim {

class CallLog {
  public:
    static CallLog& Instance();

    void Count(Function function) { m_counts[function.index].fetch_add(1, std::memory_order_relaxed); }
    std::uint32_t CountOf(std::size_t function) const { return m_counts[function].load(); }
    // Forgets the counts and the recorded lines.
    void Reset();

    // Whether anyone reads the lines.
    bool IsOn() const { return m_on.load(std::memory_order_relaxed); }
    void Write(const std::string& line);
    void Record(bool record);
    std::string Recorded();

  private:
    CallLog();
    ~CallLog();

    std::array<std::atomic<std::uint32_t>, FUNCTION_COUNT> m_counts{};
    std::atomic<bool> m_on{false};
    std::mutex m_lock;
    HANDLE m_file = INVALID_HANDLE_VALUE;
    bool m_record = false;
    std::string m_recorded;
};

} // namespace sim
