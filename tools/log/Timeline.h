// A log as Trace Event JSON, which the viewers of Chrome (chrome://tracing) and Perfetto open.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tools/log/Tracker.h"

namespace agentlog {

// Written as it goes: an event a line, in portions.
class Timeline : public Listener {
  public:
    using Sink = std::function<void(std::string_view)>;

    Timeline(const CounterRate& rate, Sink sink);
    // After the log's end.
    void Finish();
    std::uint64_t Events() const { return m_events; }

    void OnEntry(const OpenCalls& open, const LogLine& line) override;
    void OnMessage(const OpenCalls& open, const LogLine& line, const FoundMessage* found) override;
    void OnExit(const OpenCalls& open, const LogLine* exit, double milliseconds) override;

  private:
    // Microseconds since the log's first line.
    double Now(const LogLine& line);
    void Begin(std::string_view phase, std::string_view name, const OpenCalls& open, double at);
    void End();

    const CounterRate m_rate;
    const Sink m_sink;
    std::string m_text;
    bool m_started = false;
    std::uint64_t m_first = 0;
    double m_latest = 0;
    std::uint64_t m_events = 0;
};

} // namespace agentlog
