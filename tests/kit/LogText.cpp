#include "tests/kit/LogText.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

constexpr std::string_view ENTRY = "ENTRY:  ", EXIT = "EXIT:  ", LINE_END = "\r\n";

// Takes a text from its beginning; as long as all was as expected.
class Scan {
  public:
    explicit Scan(std::string_view rest) : m_rest(rest) {}

    Scan& Text(std::string_view text) {
        if ((m_good = m_good && m_rest.starts_with(text)))
            m_rest.remove_prefix(text.size());
        return *this;
    }
    // What is there up to the text, and the text.
    Scan& Until(std::string_view end, std::string_view& found) {
        const std::size_t at = m_rest.find(end);
        if ((m_good = m_good && at != std::string_view::npos)) {
            found = m_rest.substr(0, at);
            m_rest.remove_prefix(at + end.size());
        }
        return *this;
    }
    template <class Number> Scan& Value(Number& number, int base) {
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number, base);
        if ((m_good = m_good && error == std::errc()))
            m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return *this;
    }
    // A character for each of the pattern's: 0 is any digit.
    Scan& Pattern(std::string_view pattern, std::string_view& found) {
        found = m_rest.substr(0, pattern.size());
        m_good = m_good && std::equal(found.begin(), found.end(), pattern.begin(), pattern.end(),
                                      [](char c, char p) { return p == '0' ? c >= '0' && c <= '9' : c == p; });
        m_rest.remove_prefix(found.size());
        return *this;
    }

    bool Good() const { return m_good; }
    std::string_view Rest() const { return m_rest; }

  private:
    std::string_view m_rest;
    bool m_good = true;
};

bool IsExitOf(std::string_view text, std::string_view operation) {
    if (!text.starts_with(EXIT) || !text.substr(EXIT.size()).starts_with(operation))
        return false;
    const std::string_view rest = text.substr(EXIT.size() + operation.size());
    return rest.empty() || rest.front() == ',';
}

} // namespace

std::optional<LogText::Line> LogText::Parse(std::string_view line) {
    Line parts;
    Scan scan(line);
    scan.Until("\tPID:", parts.module).Value(parts.pid, 16).Text("\tTID:").Value(parts.tid, 16).Text("\t");
    scan.Pattern("00:00:00.000", parts.time).Text("\t(").Value(parts.counter, 16).Text(")\tTIER ");
    scan.Value(parts.tier, 10).Text("\t\t");
    if (!scan.Good())
        return std::nullopt;
    parts.text = scan.Rest();
    return parts;
}

std::string_view LogText::TextOf(std::string_view line) {
    const auto parts = Parse(line);
    return parts ? parts->text : line;
}

bool LogText::IsTrace(std::string_view text) {
    return text.starts_with(ENTRY) || text.starts_with(EXIT);
}

LogText::Filter LogText::Without(std::vector<std::string> beginnings) {
    return [beginnings = std::move(beginnings)](std::string_view text) {
        return std::none_of(beginnings.begin(), beginnings.end(),
                            [&](const std::string& beginning) { return text.starts_with(beginning); });
    };
}

LogText::Filter LogText::Only(std::vector<std::string> texts) {
    return [texts = std::move(texts)](std::string_view text) {
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    };
}

std::vector<std::string_view> LogText::Lines(std::string_view log) {
    std::vector<std::string_view> lines;
    while (!log.empty()) {
        const std::size_t end = std::min(log.find(LINE_END), log.size());
        lines.push_back(log.substr(0, end));
        log.remove_prefix(std::min(end + LINE_END.size(), log.size()));
    }
    return lines;
}

std::vector<std::string> LogText::Texts(std::string_view log) {
    std::vector<std::string> texts;
    for (const std::string_view line : Lines(log))
        texts.emplace_back(TextOf(line));
    return texts;
}

std::vector<std::string> LogText::Messages(std::string_view log, const Filter& filter) {
    auto texts = Texts(log);
    std::erase_if(texts, [&](const std::string& text) { return IsTrace(text) || (filter && !filter(text)); });
    return texts;
}

std::vector<std::string> LogText::TracesOf(const std::vector<std::string>& texts, const std::string& operation) {
    std::vector<std::string> traces;
    for (const auto& text : texts)
        if (text == std::string(ENTRY) + operation || IsExitOf(text, operation))
            traces.push_back(text);
    return traces;
}

testing::AssertionResult LogText::Traced(const std::vector<std::string>& texts, const std::string& operation,
                                         const std::string& result) {
    const auto entry = std::find(texts.begin(), texts.end(), std::string(ENTRY) + operation);
    if (entry == texts.end())
        return testing::AssertionFailure() << operation << " is not entered";
    if (std::find(entry, texts.end(), std::string(EXIT) + operation + result) == texts.end())
        return testing::AssertionFailure() << operation << " is not left with \"" << result << "\"";
    return testing::AssertionSuccess();
}
