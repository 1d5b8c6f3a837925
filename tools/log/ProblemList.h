// The problems of a log, those of one kind together.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/log/Tracker.h"

namespace agentlog {

class ProblemList : public Listener {
  public:
    // Of the same function, with the same number, told by the same line, for the same adapter of the same operation.
    struct Kind {
        Neighbour neighbour = Neighbour::None;
        std::string function;
        Argument argument = Argument::Other;
        std::optional<std::uint32_t> number;
        std::string request; // what the host asked for; empty: nothing
        std::uint32_t adapter = 0;
        std::string adapterId; // UTF-8
        std::string text;      // the line, UTF-8; empty: that one is missing tells it
        const char* meaning = "";
        const char* advice = "";
        std::uint64_t count = 0;
        std::uint32_t firstTime = 0; // milliseconds of the day
        std::uint32_t lastTime = 0;
        std::uint64_t firstLine = 0;
        std::uint64_t firstRequest = 0; // its number; 0: none
        std::uint64_t lastRequest = 0;
        std::uint32_t process = 0; // of the first
    };

    // In the order in which the first of each stands in the log.
    const std::vector<Kind>& Kinds() const { return m_kinds; }
    std::uint64_t Total() const { return m_total; }

    void OnProblem(const Problem& problem) override;

  private:
    std::vector<Kind> m_kinds;
    std::unordered_map<std::string, std::size_t> m_places;
    std::uint64_t m_total = 0;
};

} // namespace agentlog
