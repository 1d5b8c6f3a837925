#include "tools/reading/DocumentSink.h"

#include <utility>

namespace reading {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t INDENT = 2;

std::string Scalar(const Json& value) {
    return value.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace

void DocumentSink::Texts(std::string_view key, const std::vector<std::string>& texts) {
    Key(key);
    BeginArray();
    for (const std::string& text : texts)
        Value(text);
    End();
}

Json& ValueSink::Place() {
    if (m_open.empty())
        return m_whole;
    Json& parent = *m_open.back();
    if (!parent.is_array())
        return parent[m_key];
    parent.push_back(nullptr);
    return parent.back();
}

void ValueSink::Open(Json empty) {
    Json& place = Place();
    place = std::move(empty);
    m_open.push_back(&place);
}

void TextSink::BreakLine() {
    m_text += '\n';
    m_text.append(INDENT * m_open.size(), ' ');
}

void TextSink::Separate() {
    if (std::exchange(m_afterKey, false) || m_open.empty())
        return;
    if (!std::exchange(m_open.back().isEmpty, false))
        m_text += ',';
    BreakLine();
}

void TextSink::Open(char open, char close) {
    Separate();
    m_text += open;
    m_open.push_back({close});
}

void TextSink::End() {
    const Level level = m_open.back();
    m_open.pop_back();
    if (!level.isEmpty)
        BreakLine();
    m_text += level.close;
}

void TextSink::Key(std::string_view key) {
    Separate();
    m_text += Scalar(key);
    m_text += ": ";
    m_afterKey = true;
}

void TextSink::Value(const Json& value) {
    Separate();
    m_text += Scalar(value);
}

} // namespace reading
