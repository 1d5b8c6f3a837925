// Where the time goes: the traced operations, each with how often and how long it was called.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/log/Tracker.h"

namespace agentlog {

class SlowCalls : public Listener {
  public:
    struct Kind {
        std::string operation;
        const LogOperation* known = nullptr;
        std::uint64_t calls = 0;
        double own = 0;         // milliseconds that it took itself, without the operations within it
        double longest = 0;     // of a single call, with those
        std::uint32_t time = 0; // milliseconds of the day at the end of the longest call
        std::uint64_t request = 0;
    };

    // Those that took longest themselves first.
    std::vector<Kind> Slowest(std::size_t count) const;

    void OnExit(const OpenCalls& open, const LogLine* exit, double milliseconds) override;

  private:
    std::unordered_map<std::string, Kind> m_kinds; // of the agent's operations there are some hundred
};

} // namespace agentlog
