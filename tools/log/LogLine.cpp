#include "tools/log/LogLine.h"

#include <charconv>

namespace agentlog {
namespace {

constexpr std::string_view PROCESS = "\tPID:";
constexpr std::string_view THREAD = "\tTID:";
constexpr std::string_view TIER = "TIER ";
constexpr std::string_view ENTRY = "ENTRY:  ";
constexpr std::string_view EXIT = "EXIT:  ";
constexpr std::size_t LONGEST_MODULE = 64;

// Takes a text from its beginning, as long as all is as expected.
class Cursor {
  public:
    explicit Cursor(std::string_view rest) : m_rest(rest) {}

    bool Text(std::string_view text) {
        if (!m_rest.starts_with(text))
            return false;
        m_rest.remove_prefix(text.size());
        return true;
    }
    template <class Number> bool Value(Number& value, int base) {
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value, base);
        if (error != std::errc())
            return false;
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return true;
    }
    // A number of just so many digits.
    bool Digits(std::size_t count, std::uint32_t& value) {
        if (m_rest.size() < count)
            return false;
        value = 0;
        for (const char c : m_rest.substr(0, count)) {
            if (c < '0' || c > '9')
                return false;
            value = value * 10 + static_cast<std::uint32_t>(c - '0');
        }
        m_rest.remove_prefix(count);
        return true;
    }
    std::string_view Rest() const { return m_rest; }

  private:
    std::string_view m_rest;
};

// hh:mm:ss.mmm
bool ReadTime(Cursor& cursor, std::uint32_t& milliseconds) {
    std::uint32_t hours = 0, minutes = 0, seconds = 0, rest = 0;
    if (!cursor.Digits(2, hours) || !cursor.Text(":") || !cursor.Digits(2, minutes) || !cursor.Text(":") ||
        !cursor.Digits(2, seconds) || !cursor.Text(".") || !cursor.Digits(3, rest))
        return false;
    milliseconds = ((hours * 60 + minutes) * 60 + seconds) * 1000 + rest;
    return hours < 24 && minutes < 60 && seconds < 61;
}

// Counter and tier, each with the tab behind it; a log may lack either.
bool ReadNesting(Cursor& cursor, LogLine& line) {
    if (cursor.Text("(") && (!cursor.Value(line.counter, 16) || !cursor.Text(")\t")))
        return false;
    if (cursor.Text(TIER) && (!cursor.Value(line.tier, 10) || !cursor.Text("\t\t")))
        return false;
    return true;
}

struct ResultForm {
    std::string_view name;
    ResultKind kind;
};

constexpr ResultForm RESULTS[] = {
    {", bReturn=", ResultKind::Boolean},
    {", nReturn=", ResultKind::Number},
    {", res.ulErrCode=", ResultKind::Status},
    {", HRESULT=", ResultKind::HResult},
};

std::int64_t ResultNumber(ResultKind kind, std::string_view text) {
    if (kind == ResultKind::Boolean)
        return text == "true";
    const bool hexadecimal = kind == ResultKind::HResult && text.size() > 2;
    std::int64_t value = 0;
    if (hexadecimal)
        text.remove_prefix(2);
    std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
    return value;
}

void ReadResult(LogLine& line) {
    const std::size_t comma = line.operation.find(',');
    if (comma == std::string_view::npos)
        return;
    const std::string_view rest = line.operation.substr(comma);
    for (const ResultForm& form : RESULTS) {
        if (!rest.starts_with(form.name))
            continue;
        line.resultKind = form.kind;
        line.resultText = rest.substr(form.name.size());
        line.result = ResultNumber(form.kind, line.resultText);
        line.operation.remove_suffix(rest.size());
        return;
    }
}

// "Common\Src\QelNetAgentPvt (352): text"
void ReadPlace(LogLine& line) {
    const std::size_t blank = line.text.find(' ');
    if (blank == std::string_view::npos || line.text.substr(0, blank).find('\\') == std::string_view::npos)
        return;
    Cursor cursor(line.text.substr(blank));
    std::uint32_t number = 0;
    if (!cursor.Text(" (") || !cursor.Value(number, 10) || !cursor.Text("): "))
        return;
    line.place = line.text.substr(0, blank);
    line.placeLine = number;
    line.text = cursor.Rest();
}

} // namespace

std::optional<LogLine> ParseLine(std::string_view text) {
    LogLine line;
    const std::size_t tab = text.substr(0, LONGEST_MODULE + 1).find('\t');
    if (tab == std::string_view::npos)
        return std::nullopt;
    line.module = text.substr(0, tab);
    Cursor cursor(text.substr(tab));
    if (!cursor.Text(PROCESS) || !cursor.Value(line.process, 16) || !cursor.Text(THREAD) ||
        !cursor.Value(line.thread, 16) || !cursor.Text("\t") || !ReadTime(cursor, line.time) || !cursor.Text("\t") ||
        !ReadNesting(cursor, line))
        return std::nullopt;
    if (cursor.Text(ENTRY)) {
        line.step = Step::Entry;
        line.operation = cursor.Rest();
    } else if (cursor.Text(EXIT)) {
        line.step = Step::Exit;
        line.operation = cursor.Rest();
        ReadResult(line);
    } else {
        line.text = cursor.Rest();
        ReadPlace(line);
    }
    return line;
}

std::size_t FindTear(std::string_view line, const LogLine& parsed) {
    const std::string_view tail = parsed.step == Step::Message ? parsed.text : parsed.operation;
    // A result hides nothing: its text ends with the line, and a tear in it is not a result's text.
    const auto from = static_cast<std::size_t>(tail.data() - line.data());
    const std::size_t next = line.find(PROCESS, from);
    if (next == std::string_view::npos || next - from < parsed.module.size() ||
        line.substr(next - parsed.module.size(), parsed.module.size()) != parsed.module)
        return std::string_view::npos;
    return next - parsed.module.size();
}

} // namespace agentlog
