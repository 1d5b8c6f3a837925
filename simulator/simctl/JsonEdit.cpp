#include "simulator/simctl/JsonEdit.h"

#include <algorithm>

#include "simulator/topology/JsonPlaces.h"

namespace simctl {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using sim::JsonPlaces;
using sim::JsonSpan;

constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::size_t STEP = 4; // of indentation

json Parse(const std::string& text) {
    return json::parse(text, nullptr, true, true);
}

std::string Parent(const std::string& pointer) {
    return pointer.substr(0, pointer.rfind('/'));
}

std::string LastKey(const std::string& pointer) {
    return sim::KeyOfToken(std::string_view(pointer).substr(pointer.rfind('/') + 1));
}

std::string LineEnd(const std::string& text) {
    return text.find("\r\n") == std::string::npos ? "\n" : "\r\n";
}

// The blanks before the first word of the line that the offset is on.
std::string Indentation(const std::string& text, std::size_t offset) {
    const auto lineBreak = text.rfind('\n', offset);
    const std::size_t line = lineBreak == std::string::npos ? 0 : lineBreak + 1;
    return text.substr(line, std::min(text.find_first_not_of(" \t", line), text.size()) - line);
}

std::string Trimmed(const std::string& text) {
    const auto last = text.find_last_not_of(BLANKS);
    return text.substr(0, last == std::string::npos ? 0 : last + 1);
}

// Objects and lists on lines of their own, which go on with the indentation.
std::string ValueText(const ordered_json& value, const std::string& indentation, const std::string& lineEnd) {
    std::string text;
    for (const char c : value.dump(STEP))
        text += c == '\n' ? lineEnd + indentation : std::string(1, c);
    return text;
}

// A merged object has no members that are null.
ordered_json WithoutNulls(const ordered_json& value) {
    if (!value.is_object())
        return value;
    ordered_json kept = ordered_json::object();
    for (const auto& [key, member] : value.items()) {
        if (!member.is_null())
            kept[key] = WithoutNulls(member);
    }
    return kept;
}

// One document, changed step by step; its places are found anew after each.
class Editor {
  public:
    explicit Editor(std::string text) : m_text(std::move(text)), m_places(m_text) {}

    void Apply(const std::string& pointer, const ordered_json& value) {
        const JsonSpan* span = m_places.Find(pointer);
        if (value.is_null())
            return Remove(pointer, span);
        if (!span)
            return Add(pointer, WithoutNulls(value));
        if (value.is_object() && m_text[span->begin] == '{') {
            for (const auto& [key, member] : value.items()) {
                const std::string inner = pointer + "/" + sim::PointerToken(key);
                if (!member.is_null() || m_places.Find(inner)) // nothing to remove is no mistake in a merge
                    Apply(inner, member);
            }
            return;
        }
        Replace(span->begin, span->end,
                ValueText(WithoutNulls(value), Indentation(m_text, span->begin), LineEnd(m_text)));
    }

    const std::string& Text() const { return m_text; }

  private:
    void Replace(std::size_t begin, std::size_t end, const std::string& with) {
        m_text.replace(begin, end - begin, with);
        m_places = JsonPlaces(m_text);
    }

    // The members of an object or list in their order.
    std::vector<JsonSpan> Members(const std::string& pointer) const { return m_places.Members(pointer); }

    void Add(const std::string& pointer, const ordered_json& value) {
        const std::string parent = Parent(pointer);
        const JsonSpan* around = pointer.empty() ? nullptr : m_places.Find(parent);
        if (!around)
            throw EditError("there is no " + (parent.empty() ? "/" : parent) + " to add to");
        const auto members = Members(parent);
        const std::string key = LastKey(pointer);
        const char kind = m_text[around->begin];
        if (kind == '[' && key != "-" && key != std::to_string(members.size()))
            throw EditError(parent + " has " + std::to_string(members.size()) + " entries: write \"" + parent +
                            "/-\" to add one");
        if (kind != '[' && kind != '{')
            throw EditError((parent.empty() ? "/" : parent) + " is no object and no list");
        Insert(*around, members, kind == '{' ? ordered_json(key).dump() + ": " : "", value);
    }

    void Insert(const JsonSpan& around, const std::vector<JsonSpan>& members, const std::string& name,
                const ordered_json& value) {
        const std::size_t closing = around.end - 1;
        const std::size_t begin = members.empty() ? around.begin + 1 : members.back().end;
        const std::string tail = m_text.substr(begin, closing - begin); // blanks and comments
        const std::string comma = members.empty() ? "" : ",";
        if (tail.find('\n') == std::string::npos) {
            const std::string indentation = Indentation(m_text, around.begin);
            Replace(begin, closing,
                    comma + Trimmed(tail) + (members.empty() ? "" : " ") + name +
                        ValueText(value, indentation, LineEnd(m_text)));
            return;
        }
        const std::string outer = Indentation(m_text, closing);
        const std::string inner =
            members.empty() ? outer + std::string(STEP, ' ') : Indentation(m_text, members.back().key);
        Replace(begin, closing,
                comma + Trimmed(tail) + LineEnd(m_text) + inner + name + ValueText(value, inner, LineEnd(m_text)) +
                    LineEnd(m_text) + outer);
    }

    void Remove(const std::string& pointer, const JsonSpan* span) {
        if (!span || pointer.empty())
            throw EditError("there is no " + (pointer.empty() ? "/" : pointer) + " to remove");
        const auto members = Members(Parent(pointer));
        const auto at = std::ranges::find_if(members, [&](const JsonSpan& one) { return one.begin == span->begin; });
        if (at + 1 != members.end())
            return RemoveWithComma(*span);
        std::size_t begin = Trimmed(m_text.substr(0, span->key)).size();
        if (EndsInLineComment(begin))
            begin = span->key;
        Replace(begin, span->end, "");
        if (at != members.begin()) {
            const std::size_t comma = sim::SkipBlanks(m_text, (at - 1)->end);
            Replace(comma, comma + 1, "");
        }
    }

    // One that others follow.
    void RemoveWithComma(const JsonSpan& span) {
        std::size_t begin = span.key;
        const std::size_t comma = sim::SkipBlanks(m_text, span.end);
        const std::string between = m_text.substr(span.end, comma - span.end);
        std::size_t end = std::min(m_text.find_first_not_of(" \t", comma + 1), m_text.size());
        if (!Trimmed(between).empty()) // comments
            return Replace(begin, end, between.substr(between.find_first_not_of(BLANKS)));
        // A line of which nothing is left goes, too.
        if (end < m_text.size() && BLANKS.find(m_text[end]) != std::string_view::npos && IsFirstOnLine(begin))
            begin = Trimmed(m_text.substr(0, begin)).size();
        if (EndsInLineComment(begin))
            begin = span.key;
        Replace(begin, end, "");
    }

    bool IsFirstOnLine(std::size_t offset) const {
        const auto word = m_text.find_last_not_of(" \t", offset - 1);
        return word != std::string::npos && m_text[word] == '\n';
    }

    // Whether what follows directly would become a part of a comment.
    bool EndsInLineComment(std::size_t offset) const {
        const auto line = m_text.rfind('\n', offset == 0 ? 0 : offset - 1);
        return m_text.substr(line == std::string::npos ? 0 : line, offset - (line == std::string::npos ? 0 : line))
                   .find("//") != std::string::npos;
    }

    std::string m_text;
    JsonPlaces m_places;
};

json Expected(json document, const std::string& pointer, const json& value) {
    const json::json_pointer at(pointer);
    if (value.is_null()) {
        const json removal = {{{"op", "remove"}, {"path", pointer}}};
        return document.patch(removal);
    }
    if (document.contains(at)) {
        document[at].merge_patch(value);
        return document;
    }
    json merged;
    merged.merge_patch(value);
    const json addition = {{{"op", "add"}, {"path", pointer}, {"value", merged}}};
    return document.patch(addition);
}

} // namespace

std::string EditJson(const std::string& text, const std::string& pointer, const ordered_json& value) {
    try {
        const json::json_pointer valid(pointer);
    } catch (const json::exception&) {
        throw EditError("\"" + pointer + "\" is no JSON pointer: write one such as \"/adapters/0/port/state\"");
    }
    Editor editor(text);
    editor.Apply(pointer, value);
    // The text is edited by hand, so to speak: it must say what was asked for, and nothing else.
    if (Parse(editor.Text()) != Expected(Parse(text), pointer, json::parse(value.dump())))
        throw EditError(pointer + " cannot be changed in this file's text");
    return editor.Text();
}

} // namespace simctl
