// The calls of the simulated functions: counted always, written as lines of text on demand.
//
// The lines go to the file that is configured for them, and, without what the file has before them, to memory while a
// test records them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "simulator/control/CallFile.h"
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
    // version: of the world that it is about. file: in place of the configured one.
    void Write(const std::string& line, std::uint64_t version, const CallFile* file = nullptr);
    void Record(bool record);
    std::string Recorded();

  private:
    CallLog();

    std::array<std::atomic<std::uint32_t>, FUNCTION_COUNT> m_counts{};
    std::atomic<bool> m_on{false};
    std::mutex m_lock;
    const CallFile m_file;
    bool m_record = false;
    std::string m_recorded;
};

} // namespace sim
