// A log as the agent writes it, put together by a test, and what a tracker makes of it.
#pragma once

#include <string>
#include <vector>

#include "tools/log/Tracker.h"

// Lines of the process 2c. A millisecond passes before each.
class WrittenLog {
  public:
    // A line of that thread; an operation's name is written with its class.
    WrittenLog& Enter(const std::string& operation) { return Say("ENTRY:  " + operation); }
    WrittenLog& Leave(const std::string& operation, const std::string& result = "") {
        return Say("EXIT:  " + operation + (result.empty() ? "" : ", " + result));
    }
    WrittenLog& Say(const std::string& text);
    // A vendor call within an operation of the agent's: entered, the texts, left.
    WrittenLog& Call(const std::string& operation, const std::vector<std::string>& texts,
                     const std::string& result = "");
    WrittenLog& Thread(unsigned thread);
    WrittenLog& After(unsigned milliseconds);

    const std::vector<std::string>& Lines() const { return m_lines; }

  private:
    std::vector<std::string> m_lines;
    unsigned m_thread = 0x30;
    unsigned m_time = 0;
};

// Keeps all that is told.
class Told : public agentlog::Listener {
  public:
    // Of the lines, read by a tracker whose counter has 10,000 ticks a millisecond.
    explicit Told(const std::vector<std::string>& lines);
    explicit Told(const WrittenLog& log) : Told(log.Lines()) {}

    void OnExit(const agentlog::OpenCalls& open, const agentlog::LogLine* exit, double milliseconds) override;
    void OnProblem(const agentlog::Problem& problem) override;
    void OnFinished(const agentlog::Request& request) override { requests.push_back(request); }

    std::vector<agentlog::Request> requests;
    // "function: number: meaning" of each problem, and of which adapter and line.
    std::vector<std::string> problems;
    std::vector<std::uint32_t> adapters;
    std::vector<std::uint64_t> problemLines;
    std::vector<std::string> calls; // "depth operation milliseconds", as they end; an end that is missing has "?"
    std::uint64_t lines = 0;
    std::uint64_t unreadable = 0;
};
