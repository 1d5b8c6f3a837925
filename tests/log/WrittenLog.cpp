#include "tests/log/WrittenLog.h"

#include <fmt/format.h>

WrittenLog& WrittenLog::Say(const std::string& text) {
    ++m_time;
    m_lines.push_back(fmt::format("FCOEAGENT\tPID:2c\tTID:{:x}\t14:{:02}:{:02}.{:03}\t({:X})\tTIER 1\t\t{}", m_thread,
                                  m_time / 60000, m_time / 1000 % 60, m_time % 1000, 5000000u + m_time * 10000ull,
                                  text));
    return *this;
}

WrittenLog& WrittenLog::Call(const std::string& operation, const std::vector<std::string>& texts,
                             const std::string& result) {
    Enter(operation);
    for (const std::string& text : texts)
        Say(text);
    return Leave(operation, result);
}

WrittenLog& WrittenLog::Thread(unsigned thread) {
    m_thread = thread;
    return *this;
}

WrittenLog& WrittenLog::After(unsigned milliseconds) {
    m_time += milliseconds;
    return *this;
}

Told::Told(const std::vector<std::string>& written) {
    agentlog::Tracker tracker(agentlog::CounterRate(10000), *this);
    for (const std::string& line : written)
        tracker.Take(line);
    tracker.End();
    lines = tracker.Lines();
    unreadable = tracker.Unreadable();
}

void Told::OnExit(const agentlog::OpenCalls& open, const agentlog::LogLine* exit, double milliseconds) {
    calls.push_back(fmt::format("{} {} {}", open.depth, open.calls[open.depth - 1].operation,
                                exit ? fmt::format("{:.0f}", milliseconds) : "?"));
}

void Told::OnProblem(const agentlog::Problem& problem) {
    problems.push_back(fmt::format("{}: {}: {}", problem.function, agentlog::NumberText(problem.kind, problem.number),
                                   problem.meaning));
    adapters.push_back(problem.adapter);
    problemLines.push_back(problem.line);
}
