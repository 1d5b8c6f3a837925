#include "simulator/topology/JsonReader.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <set>

#include "simulator/topology/Text.h"

namespace sim {
namespace {

using nlohmann::json;

std::size_t EditDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t replaced = diagonal + (left[i] != right[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// What the parser says after the place, which this module states itself.
std::string SyntaxProblem(const json::parse_error& error) {
    const std::string_view what = error.what();
    const auto start = what.find(": ");
    return std::string(start == std::string_view::npos ? what : what.substr(start + 2));
}

constexpr std::size_t SHOWN = 60; // characters of a value

// Where the text is wrong that the parser throws of without telling the place.
class PlaceOfError : public nlohmann::json_sax<json> {
  public:
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t position, const std::string& token, const json::exception&) override {
        m_token = token;
        m_offset = position - std::min(position, token.size());
        return false;
    }

    std::size_t Offset() const { return m_offset; }
    const std::string& Token() const { return m_token; }

  private:
    std::size_t m_offset = 0;
    std::string m_token;
};

} // namespace

JsonSyntaxError::JsonSyntaxError(const std::string& document, TextPlace place, const std::string& problem)
    : TopologyError(document + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": " + problem),
      m_place(place), m_problem(problem) {}

PlacedError::PlacedError(const std::string& document, const std::string& pointer, const std::string& problem)
    : TopologyError(document + ": " + (pointer.empty() ? "/" : pointer) + ": " + problem), m_pointer(pointer),
      m_problem(problem) {}

json ParseJson(std::string_view text, const std::string& document, std::vector<std::string>& repeated) {
    std::vector<std::set<std::string>> keys;
    const auto noteRepeatedKeys = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            repeated.push_back("the key " + parsed.dump() + " is given twice in one object");
        return true;
    };
    constexpr bool EXCEPTIONS = true, COMMENTS = true;
    try {
        return json::parse(text.begin(), text.end(), noteRepeatedKeys, EXCEPTIONS, COMMENTS);
    } catch (const json::parse_error& error) {
        throw JsonSyntaxError(document, PlaceWalk(text).To(error.byte > 0 ? error.byte - 1 : 0), SyntaxProblem(error));
    } catch (const json::out_of_range&) { // a number that no floating-point number can be
        PlaceOfError place;
        json::sax_parse(text.begin(), text.end(), &place, json::input_format_t::json, true, COMMENTS);
        throw JsonSyntaxError(document, PlaceWalk(text).To(place.Offset()),
                              "the number " + place.Token().substr(0, SHOWN) + " is too large");
    }
}

json ParseJson(std::string_view text, const std::string& document) {
    std::vector<std::string> repeated;
    json parsed = ParseJson(text, document, repeated);
    if (!repeated.empty())
        throw TopologyError(document + ": " + repeated.front());
    return parsed;
}

void JsonValue::Fail(const std::string& problem) const {
    throw PlacedError(*m_document, m_pointer, problem);
}

void JsonValue::FailExpected(const std::string& what) const {
    std::string found = m_value->is_object()  ? "an object"
                        : m_value->is_array() ? "a list"
                                              : m_value->dump(-1, ' ', false, json::error_handler_t::replace);
    if (found.size() > SHOWN)
        found = found.substr(0, SHOWN) + "...";
    Fail("expected " + what + ", found " + found);
}

bool JsonValue::Bool() const {
    if (!m_value->is_boolean())
        FailExpected("true or false");
    return m_value->get<bool>();
}

std::optional<JsonValue> JsonValue::Member(const char* key) const {
    const auto found = m_value->find(key);
    if (found == m_value->end())
        return std::nullopt;
    return JsonValue(*found, *m_document, m_pointer + "/" + PointerToken(key));
}

std::optional<std::uint64_t> JsonValue::AsUnsigned() const {
    if (m_value->is_number_unsigned())
        return m_value->get<std::uint64_t>();
    if (!m_value->is_string())
        return std::nullopt;
    const auto& text = m_value->get_ref<const std::string&>();
    std::uint64_t parsed = 0;
    if (text.size() <= 2 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X'))
        return std::nullopt;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), parsed, 16);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return parsed;
}

std::uint64_t JsonValue::Unsigned(std::uint64_t min, std::uint64_t max) const {
    const auto number = AsUnsigned();
    if (!number || *number < min || *number > max)
        FailExpected("a number from " + std::to_string(min) + " to " + std::to_string(max));
    return *number;
}

std::int64_t JsonValue::Signed(std::int64_t min, std::int64_t max) const {
    const bool tooLarge = m_value->is_number_unsigned() && m_value->get<std::uint64_t>() > std::uint64_t(INT64_MAX);
    const std::int64_t number = m_value->is_number_integer() && !tooLarge ? m_value->get<std::int64_t>() : 0;
    if (!m_value->is_number_integer() || tooLarge || number < min || number > max)
        FailExpected("a number from " + std::to_string(min) + " to " + std::to_string(max));
    return number;
}

std::string JsonValue::Text(std::size_t maxBytes) const {
    if (!m_value->is_string())
        FailExpected("a text");
    const auto& text = m_value->get_ref<const std::string&>();
    if (maxBytes != 0 && Ansi(text).size() > maxBytes)
        FailExpected("a text of at most " + std::to_string(maxBytes) + " characters");
    return text;
}

Wwn JsonValue::WorldWideName() const {
    const auto wwn = m_value->is_string() ? ParseWwn(m_value->get_ref<const std::string&>()) : std::nullopt;
    if (!wwn)
        FailExpected("a World Wide Name such as \"20:00:02:05:7c:10:20:30\"");
    return *wwn;
}

std::array<std::uint8_t, 6> JsonValue::Mac() const {
    // A World Wide Name whose first two groups are missing.
    const auto wwn = m_value->is_string() ? ParseWwn("00:00:" + m_value->get_ref<const std::string&>()) : std::nullopt;
    if (!wwn)
        FailExpected("a MAC address such as \"02:05:7c:10:20:30\"");
    std::array<std::uint8_t, 6> mac{};
    std::copy(wwn->begin() + 2, wwn->end(), mac.begin());
    return mac;
}

std::vector<JsonValue> JsonValue::Array(std::size_t max) const {
    if (!m_value->is_array())
        FailExpected("a list");
    if (m_value->size() > max)
        FailExpected("a list of at most " + std::to_string(max) + " entries");
    std::vector<JsonValue> values;
    for (std::size_t i = 0; i < m_value->size(); ++i)
        values.emplace_back((*m_value)[i], *m_document, m_pointer + "/" + std::to_string(i));
    return values;
}

JsonObject::JsonObject(const JsonValue& value) : m_value(value) {
    if (!value.Json().is_object())
        value.FailExpected("an object");
}

std::optional<JsonValue> JsonObject::Find(const char* key) {
    m_known.emplace_back(key);
    return m_value.Member(key);
}

JsonValue JsonObject::Require(const char* key) {
    const auto found = Find(key);
    if (!found)
        m_value.Fail(std::string("the key \"") + key + "\" is missing");
    return *found;
}

void JsonObject::Finish() const {
    for (const auto& [key, value] : m_value.Json().items()) {
        if (std::find(m_known.begin(), m_known.end(), key) != m_known.end())
            continue;
        const auto nearest = NearestWord(key, m_known);
        m_value.Fail("unknown key " + nlohmann::json(key).dump() +
                     (nearest.empty() ? std::string() : "; did you mean \"" + nearest + "\"?"));
    }
}

void JsonObject::Read(const char* key, bool& value) {
    if (const auto found = Find(key))
        value = found->Bool();
}

void JsonObject::Read(const char* key, std::string& value, std::size_t maxBytes) {
    if (const auto found = Find(key))
        value = found->Text(maxBytes);
}

void JsonObject::Read(const char* key, Wwn& value) {
    if (const auto found = Find(key))
        value = found->WorldWideName();
}

std::string NearestWord(std::string_view word, const std::vector<std::string>& candidates) {
    std::string nearest;
    std::size_t least = word.size() / 2 + 2; // farther away it is another word
    for (const auto& candidate : candidates) {
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace sim
