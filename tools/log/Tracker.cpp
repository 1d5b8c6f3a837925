#include "tools/log/Tracker.h"

#include <algorithm>
#include <iterator>

namespace agentlog {
namespace {

constexpr std::size_t DEEPEST = 200;       // deeper calls are not followed: a log that was put together from pieces
constexpr std::size_t MOST_THREADS = 4096; // that were seen; idle ones are forgotten then

constexpr std::string_view GET_HBA_OBJECT = "CQelFcoeAgentWin::GetHBAObject";
constexpr std::string_view GET_CORE_AGENT = "CQelNetAgentPvt::GetCoreAgntPvt";
constexpr std::string_view COUNT_PORTS = "CHBAAPIInt::GetPortsCount";
constexpr std::string_view INITIALIZE = "Initialize";
constexpr std::string_view EXCEPTION = " - Exception caught";
constexpr std::string_view MORE_DATA = " failed with more data available";
constexpr std::string_view BEFORE = " Before calling ";

// What a missing line, or a result, tells.
struct Silence {
    const char* meaning;
    const char* advice;
};

constexpr Silence NOT_CALLED = {"The vendor library was not asked: it lacks the function, or it is not loaded.",
                                "See that the adapter maker's library is installed whole; fcoectl doctor tells."};
constexpr Silence NO_DCB_ANSWER = {"The DCB service did not tell its configuration of the adapter.",
                                   "Restart the DCB service; see its own log."};
constexpr Silence NO_PORTS = {"The vendor library refused the list of ports, or it is empty.",
                              "Look at the adapter, its driver and the maker's own tool."};
constexpr Silence LIST_GREW = {"The list grew while it was read, and was left out.", "Ask again."};
constexpr Silence NO_CORE_AGENT = {"The agent did not start, because there is no core agent.",
                                   "Install the suite's core agent; fcoectl doctor tells what is missing."};
constexpr Silence NOT_REGISTERED = {"The agent did not start: the registry names another file as the agent.",
                                    "Correct the registry value, or load the agent that it names."};
constexpr Silence UNEXPLAINED = {"The request failed, and the log does not tell why.",
                                 "Look at its calls: fcoectl log request N."};

std::string_view WithoutClass(std::string_view operation) {
    const std::size_t colons = operation.find("::");
    return colons == std::string_view::npos ? operation : operation.substr(colons + 2);
}

Call* Top(OpenCalls& open) {
    return open.depth > 0 ? &open.calls[open.depth - 1] : nullptr;
}

} // namespace

void Tracker::Take(std::string_view text) {
    ++m_lines;
    auto line = ParseLine(text);
    if (!line) {
        ++m_unreadable;
        return;
    }
    const std::size_t tear = FindTear(text, *line);
    if (tear == std::string_view::npos)
        return Parsed(*line);
    // The first half may end anywhere; only what it says is lost.
    ++m_unreadable;
    if (const auto second = ParseLine(text.substr(tear)))
        Parsed(*second);
}

Tracker::Thread& Tracker::ThreadOf(const LogLine& line) {
    if (m_latest && m_latest->open.thread == line.thread && m_latest->open.process == line.process)
        return *m_latest;
    const std::uint64_t key = std::uint64_t{line.process} << 32 | line.thread;
    auto found = m_threads.find(key);
    if (found == m_threads.end()) {
        if (m_threads.size() >= MOST_THREADS)
            std::erase_if(m_threads, [](const auto& entry) { return entry.second.open.depth == 0; });
        if (m_threads.size() >= MOST_THREADS)
            End();
        found = m_threads.try_emplace(key).first;
        found->second.open.process = line.process;
        found->second.open.thread = line.thread;
    }
    m_latest = &found->second;
    return *m_latest;
}

void Tracker::Parsed(const LogLine& line) {
    Thread& thread = ThreadOf(line);
    thread.last = m_rate.CounterAt(line);
    if (line.step == Step::Exit)
        return Leave(thread, line);
    if (line.step == Step::Message)
        return Say(thread, line);
    SettleUnanswered(thread);
    Enter(thread, line);
}

void Tracker::Enter(Thread& thread, const LogLine& line) {
    OpenCalls& open = thread.open;
    if (IsRequest(line.operation))
        BeginRequest(thread, line);
    if (open.depth >= DEEPEST)
        while (open.depth > 0)
            Pop(thread, nullptr);
    if (thread.inRequest && line.operation == GET_HBA_OBJECT)
        ++thread.request.adapters;
    if (line.operation == GET_CORE_AGENT)
        thread.boundCoreAgent = true;
    if (open.depth == open.calls.size())
        open.calls.emplace_back();
    Call& call = open.calls[open.depth++];
    call.operation = line.operation;
    call.known = FindOperation(line.operation);
    call.start = thread.last;
    call.children = 0;
    call.answered = false;
    call.tooSmall = 0;
    call.retried = nullptr;
    m_listener.OnEntry(open, line);
}

void Tracker::Leave(Thread& thread, const LogLine& line) {
    OpenCalls& open = thread.open;
    const auto first = open.calls.rbegin() + static_cast<std::ptrdiff_t>(open.calls.size() - open.depth);
    const auto found =
        std::find_if(first, open.calls.rend(), [&](const Call& c) { return c.operation == line.operation; });
    if (found == open.calls.rend())
        return; // its beginning is not in the log
    // Operations within it whose ends are not in the log.
    for (auto inner = found - first; inner > 0; --inner)
        Pop(thread, nullptr);
    Call& call = *Top(open);
    if (call.retried) {
        Problem problem = ProblemAt(thread, line);
        problem.line = call.retriedLine;
        problem.neighbour = call.retried->neighbour;
        problem.function = call.known ? call.known->function : "";
        problem.kind = call.retried->argument;
        problem.number = call.retriedNumber;
        problem.meaning = call.retried->meaning;
        problem.advice = call.retried->advice;
        Report(thread, problem);
    } else if (call.known && call.known->answers && !call.answered) {
        SettleUnanswered(thread);
        thread.unanswered = {call.known, m_lines, line.time};
    } else if (call.operation == COUNT_PORTS && line.result == 0) {
        Problem problem = ProblemAt(thread, line);
        problem.neighbour = call.known->neighbour;
        problem.function = call.known->function;
        problem.meaning = NO_PORTS.meaning;
        problem.advice = NO_PORTS.advice;
        Report(thread, problem);
    }
    Pop(thread, &line);
    if (thread.inRequest && open.depth == 0)
        EndRequest(thread, &line);
}

void Tracker::Say(Thread& thread, const LogLine& line) {
    const auto found = FindMessage(line.text);
    if (!found || !line.text.ends_with(EXCEPTION))
        SettleUnanswered(thread);
    if (found)
        Weigh(thread, line, *found);
    m_listener.OnMessage(thread.open, line, found ? &*found : nullptr);
    thread.unanswered = {};
}

// What the message changes, and whether it is a problem.
void Tracker::Weigh(Thread& thread, const LogLine& line, const FoundMessage& found) {
    const LogMessage& message = *found.message;
    Call* const call = Top(thread.open);
    if (call && message.pattern.find(BEFORE) == std::string_view::npos)
        call->answered = true;
    if (call && message.weight == Weight::Progress)
        call->retried = nullptr;
    Problem problem = ProblemAt(thread, line);
    problem.neighbour = message.neighbour;
    problem.function = message.function ? message.function : call && call->known ? call->known->function : "";
    problem.kind = message.argument;
    problem.text = line.text;
    problem.meaning = message.meaning;
    problem.advice = message.advice;
    if (message.argument == Argument::Adapter)
        problem.adapterId = found.argument;
    else if (message.argument != Argument::Other)
        problem.number = found.Number();
    if (message.weight == Weight::Retried && call) {
        call->retried = &message;
        call->retriedNumber = problem.number;
        call->retriedLine = m_lines;
        return;
    }
    // The second of a list's two readings should have had room.
    if (call && thread.open.depth > 1 && line.text.ends_with(MORE_DATA) &&
        ++thread.open.calls[thread.open.depth - 2].tooSmall == 2) {
        problem.meaning = LIST_GREW.meaning;
        problem.advice = LIST_GREW.advice;
        Report(thread, problem);
        return;
    }
    if (message.weight != Weight::Problem && message.weight != Weight::Retried)
        return;
    // The exception came out of the call that has no answer.
    if (thread.unanswered.known && line.text.ends_with(EXCEPTION) && problem.function.empty()) {
        problem.neighbour = thread.unanswered.known->neighbour;
        problem.function = thread.unanswered.known->function;
    }
    Report(thread, problem);
}

void Tracker::SettleUnanswered(Thread& thread) {
    if (!thread.unanswered.known)
        return;
    const Unanswered unanswered = thread.unanswered;
    thread.unanswered = {};
    const bool dcb = unanswered.known->neighbour == Neighbour::DcbService;
    const Silence& silence = dcb ? NO_DCB_ANSWER : NOT_CALLED;
    LogLine line;
    line.process = thread.open.process;
    line.thread = thread.open.thread;
    line.time = unanswered.time;
    Problem problem = ProblemAt(thread, line);
    problem.line = unanswered.line;
    problem.operation = unanswered.known->name;
    problem.neighbour = unanswered.known->neighbour;
    problem.function = unanswered.known->function;
    problem.meaning = silence.meaning;
    problem.advice = silence.advice;
    Report(thread, problem);
}

void Tracker::Pop(Thread& thread, const LogLine* exit) {
    OpenCalls& open = thread.open;
    const double milliseconds = m_rate.Milliseconds(Top(open)->start, thread.last);
    m_listener.OnExit(open, exit, milliseconds);
    --open.depth;
    if (Call* const outer = Top(open))
        outer->children += milliseconds;
}

void Tracker::BeginRequest(Thread& thread, const LogLine& line) {
    while (thread.open.depth > 0) // the end of what was open is not in the log
        Pop(thread, nullptr);
    if (thread.inRequest)
        EndRequest(thread, nullptr);
    thread.inRequest = true;
    thread.boundCoreAgent = false;
    thread.requestStart = thread.last;
    thread.request = {};
    thread.request.number = ++m_requests;
    thread.request.line = m_lines;
    thread.request.process = line.process;
    thread.request.thread = line.thread;
    thread.request.time = line.time;
    thread.request.operation = WithoutClass(line.operation);
    thread.open.request = &thread.request;
    m_listener.OnRequest(thread.request);
}

void Tracker::EndRequest(Thread& thread, const LogLine* exit) {
    SettleUnanswered(thread);
    Request& request = thread.request;
    request.milliseconds = m_rate.Milliseconds(thread.requestStart, thread.last);
    request.finished = exit != nullptr;
    if (exit) {
        request.result = exit->resultText;
        const bool failed = exit->resultKind == ResultKind::Boolean && exit->result == 0;
        const bool start = request.operation == INITIALIZE;
        if (failed && (request.problems == 0 || start)) {
            const Silence& silence = !start ? UNEXPLAINED : thread.boundCoreAgent ? NO_CORE_AGENT : NOT_REGISTERED;
            Problem problem = ProblemAt(thread, *exit);
            problem.neighbour = start && thread.boundCoreAgent ? Neighbour::CoreAgent : Neighbour::None;
            problem.meaning = silence.meaning;
            problem.advice = silence.advice;
            Report(thread, problem);
        }
    }
    m_listener.OnFinished(request);
    thread.inRequest = false;
    thread.open.request = nullptr;
}

Problem Tracker::ProblemAt(const Thread& thread, const LogLine& line) const {
    Problem problem;
    problem.line = m_lines;
    problem.process = line.process;
    problem.thread = line.thread;
    problem.time = line.time;
    if (thread.inRequest) {
        problem.request = thread.request.number;
        problem.requestOperation = thread.request.operation;
        problem.adapter = thread.request.adapters;
    }
    if (thread.open.depth > 0)
        problem.operation = thread.open.calls[thread.open.depth - 1].operation;
    return problem;
}

void Tracker::Report(Thread& thread, Problem problem) {
    if (thread.inRequest)
        ++thread.request.problems;
    m_listener.OnProblem(problem);
}

void Tracker::End() {
    for (auto& [key, thread] : m_threads) {
        SettleUnanswered(thread);
        while (thread.open.depth > 0)
            Pop(thread, nullptr);
        if (thread.inRequest)
            EndRequest(thread, nullptr);
    }
    m_threads.clear();
    m_latest = nullptr;
}

} // namespace agentlog
