#include "simulator/topology/JsonPlaces.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace sim {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

} // namespace

// Walks the text of a document that is known to be good; on another it just ends.
class PlaceScanner {
  public:
    PlaceScanner(std::string_view text, JsonPlaces& places) : m_text(text), m_places(places) {}

    void Scan() {
        if (m_text.starts_with(BYTE_ORDER_MARK))
            m_at = BYTE_ORDER_MARK.size();
        BeginValue();
        while (!m_open.empty() && SkipBlanks())
            Step();
    }

  private:
    // An object or list that is not closed yet.
    struct Open {
        bool object;
        std::string pointer;
        JsonSpan span;
        std::size_t count = 0;
        std::string key; // the member's that is being read
        std::size_t keyAt = 0;
    };

    // One token inside the innermost open value.
    void Step() {
        Open& inner = m_open.back();
        const char c = m_text[m_at];
        if (c == ']' || c == '}') {
            inner.span.end = ++m_at;
            const Open closed = std::move(inner);
            m_open.pop_back();
            Keep(closed.pointer, closed.span, m_open.size());
        } else if (c == ',' || c == ':') {
            ++m_at;
        } else if (inner.object && inner.key.empty()) {
            inner.keyAt = m_at;
            inner.key = "/" + PointerToken(ReadText());
        } else {
            BeginValue();
        }
    }

    void BeginValue() {
        if (!SkipBlanks())
            return;
        std::string pointer;
        JsonSpan span{m_at, m_at, m_at};
        if (!m_open.empty()) {
            Open& inner = m_open.back();
            const std::string token = inner.object ? std::move(inner.key) : "/" + std::to_string(inner.count++);
            if (inner.object)
                span.key = inner.keyAt;
            inner.key.clear();
            if (m_open.size() <= JsonPlaces::MAX_DEPTH)
                pointer = inner.pointer + token;
            ForgetEarlier(pointer, span.key);
        }
        const char c = m_text[m_at];
        if (c == '{' || c == '[') {
            ++m_at;
            m_open.push_back({c == '{', std::move(pointer), span, 0, {}, 0});
            return;
        }
        if (c == '"')
            ReadText();
        else
            m_at = std::min(m_text.find_first_of(",]}/ \t\r\n", m_at), m_text.size());
        span.end = m_at;
        Keep(pointer, span, m_open.size());
    }

    void Keep(const std::string& pointer, const JsonSpan& span, std::size_t depth) {
        if (depth > JsonPlaces::MAX_DEPTH)
            return;
        m_places.m_spans.insert_or_assign(pointer, span);
    }

    // A key that is given again: the parser keeps the last value.
    void ForgetEarlier(const std::string& pointer, std::size_t key) {
        auto& spans = m_places.m_spans;
        const auto earlier = spans.find(pointer);
        if (pointer.empty() || earlier == spans.end())
            return;
        m_places.m_repeated.push_back({pointer, key});
        spans.erase(earlier);
        const std::string within = pointer + "/";
        auto inner = spans.lower_bound(within);
        while (inner != spans.end() && inner->first.starts_with(within))
            inner = spans.erase(inner);
    }

    // The text at this place, which ends after it.
    std::string ReadText() {
        const std::size_t begin = m_at++;
        while (m_at < m_text.size() && m_text[m_at] != '"')
            m_at += m_text[m_at] == '\\' ? 2 : 1;
        m_at = std::min(m_at + 1, m_text.size());
        const std::string_view text = m_text.substr(begin, m_at - begin);
        const auto value = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
        return value.is_string() ? value.get<std::string>() : std::string();
    }

    // False at the end of the text.
    bool SkipBlanks() {
        m_at = sim::SkipBlanks(m_text, m_at);
        return m_at < m_text.size();
    }

    std::string_view m_text;
    JsonPlaces& m_places;
    std::size_t m_at = 0;
    std::vector<Open> m_open;
};

JsonPlaces::JsonPlaces(std::string_view text) {
    PlaceScanner(text, *this).Scan();
    m_spans.try_emplace("");
}

const JsonSpan* JsonPlaces::Find(const std::string& pointer) const {
    const auto found = m_spans.find(pointer);
    return found == m_spans.end() ? nullptr : &found->second;
}

const JsonSpan& JsonPlaces::Nearest(std::string pointer) const {
    while (!pointer.empty() && !m_spans.contains(pointer))
        pointer.resize(pointer.rfind('/') == std::string::npos ? 0 : pointer.rfind('/'));
    return m_spans.at(pointer);
}

std::vector<JsonSpan> JsonPlaces::Members(const std::string& pointer) const {
    std::vector<JsonSpan> members;
    const std::string within = pointer + "/";
    for (auto inner = m_spans.lower_bound(within); inner != m_spans.end() && inner->first.starts_with(within);
         ++inner) {
        if (inner->first.find('/', within.size()) == std::string::npos)
            members.push_back(inner->second);
    }
    std::ranges::sort(members, {}, &JsonSpan::begin);
    return members;
}

std::size_t SkipBlanks(std::string_view text, std::size_t offset) {
    constexpr std::string_view BLANKS = " \t\r\n";
    while (offset < text.size()) {
        const auto rest = text.substr(offset);
        if (rest.starts_with("//"))
            offset = std::min(text.find('\n', offset), text.size());
        else if (rest.starts_with("/*"))
            offset = std::min(text.find("*/", offset + 2), text.size() - 2) + 2;
        else if (BLANKS.find(rest[0]) != std::string_view::npos)
            ++offset;
        else
            break;
    }
    return offset;
}

PlaceWalk::PlaceWalk(std::string_view text)
    : m_text(text), m_at(text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0) {}

TextPlace PlaceWalk::To(std::size_t offset) {
    for (; m_at < std::min(offset, m_text.size()); ++m_at) {
        const auto byte = static_cast<unsigned char>(m_text[m_at]);
        if (byte == '\n') {
            ++m_place.line;
            m_place.column = 1;
        } else if ((byte & 0xC0) != 0x80) { // not one with which a character goes on
            ++m_place.column;
        }
    }
    return m_place;
}

std::string PointerToken(std::string_view key) {
    std::string token;
    for (const char c : key)
        token += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    return token;
}

std::string KeyOfToken(std::string_view token) {
    std::string key;
    for (std::size_t i = 0; i < token.size(); ++i) {
        const bool escaped = token[i] == '~' && i + 1 < token.size() && (token[i + 1] == '0' || token[i + 1] == '1');
        key += escaped ? (token[++i] == '0' ? '~' : '/') : token[i];
    }
    return key;
}

} // namespace sim
