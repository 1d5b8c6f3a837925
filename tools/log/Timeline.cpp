#include "tools/log/Timeline.h"

#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/log/LogFile.h"

namespace agentlog {
namespace {

constexpr std::size_t PORTION = 64 * 1024;

std::string Quoted(std::string_view text) {
    return nlohmann::json(Utf8(text)).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

} // namespace

Timeline::Timeline(const CounterRate& rate, Sink sink) : m_rate(rate), m_sink(std::move(sink)) {
    m_text = "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
}

double Timeline::Now(const LogLine& line) {
    const std::uint64_t now = m_rate.CounterAt(line);
    if (!m_started)
        m_first = now;
    m_started = true;
    m_latest = m_rate.Milliseconds(m_first, now) * 1000;
    return m_latest;
}

void Timeline::Begin(std::string_view phase, std::string_view name, const OpenCalls& open, double at) {
    fmt::format_to(std::back_inserter(m_text), "{}\n{{\"ph\":\"{}\",\"name\":{},\"pid\":{},\"tid\":{},\"ts\":{:.1f}",
                   m_events++ ? "," : "", phase, Quoted(name), open.process, open.thread, at);
}

void Timeline::End() {
    m_text += '}';
    if (m_text.size() < PORTION)
        return;
    m_sink(m_text);
    m_text.clear();
}

void Timeline::OnEntry(const OpenCalls& open, const LogLine& line) {
    Begin("B", line.operation, open, Now(line));
    const Call& call = open.calls[open.depth - 1];
    m_text += call.known ? fmt::format(",\"cat\":\"{}\"", NameOf(call.known->neighbour)) : ",\"cat\":\"agent\"";
    if (call.known)
        m_text += fmt::format(",\"args\":{{\"function\":\"{}\"}}", call.known->function);
    End();
}

void Timeline::OnMessage(const OpenCalls& open, const LogLine& line, const FoundMessage* found) {
    const double now = Now(line);
    const Weight weight = found ? found->message->weight : Weight::Normal;
    if (weight == Weight::Progress)
        return;
    Begin("i", line.text, open, now);
    const bool problem = weight == Weight::Problem || weight == Weight::Retried;
    m_text += fmt::format(",\"cat\":\"{}\",\"s\":\"t\"", problem ? "problem" : "message");
    if (found)
        m_text += fmt::format(",\"args\":{{\"meaning\":{}}}", Quoted(found->message->meaning));
    End();
}

void Timeline::OnExit(const OpenCalls& open, const LogLine* exit, double) {
    Begin("E", open.calls[open.depth - 1].operation, open, exit ? Now(*exit) : m_latest);
    if (exit && !exit->resultText.empty())
        m_text += fmt::format(",\"args\":{{\"result\":{}}}", Quoted(exit->resultText));
    End();
}

void Timeline::Finish() {
    m_text += "\n]}\n";
    m_sink(m_text);
    m_text.clear();
}

} // namespace agentlog
