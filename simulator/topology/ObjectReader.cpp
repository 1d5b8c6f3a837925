#include "simulator/topology/ObjectReader.h"

#include <algorithm>

#include "simulator/topology/Functions.h"
#include "simulator/topology/HexFile.h"
#include "simulator/topology/Hints.h"
#include "simulator/topology/Patch.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

// Before bytes that stand in the file itself. No file name begins so.
constexpr std::string_view INLINE_BYTES = "hex:";
// Nobody reads more.
constexpr std::size_t MAX_PROBLEMS = 1000;

} // namespace

ObjectReader::ObjectReader(JsonValue value, const Responses& responses, std::vector<Problem>& problems)
    : m_value(std::move(value)), m_responses(responses), m_problems(problems) {
    try {
        if (!IsObject())
            m_value.FailExpected("an object");
    } catch (const PlacedError& error) {
        Add(error);
    }
}

void ObjectReader::Add(const PlacedError& error, const std::string& advice) {
    if (m_problems.size() >= MAX_PROBLEMS)
        return;
    Problem problem;
    problem.pointer = problem.at = error.Pointer();
    problem.text = error.Problem();
    problem.advice = advice;
    m_problems.push_back(std::move(problem));
}

std::optional<JsonValue> ObjectReader::Find(const Key& key) {
    m_known.emplace_back(key.name);
    if (!IsObject()) // said already
        return std::nullopt;
    const auto found = m_value.Member(key.name);
    if (!found && key.required)
        Refuse(nullptr, std::string("the key \"") + key.name + "\" is missing");
    return found;
}

template <class Read> bool ObjectReader::With(const Key& key, Read read, bool number) {
    const auto found = Find(key);
    if (!found)
        return false;
    try {
        read(*found);
        return true;
    } catch (const PlacedError& error) {
        Add(error, number ? Hint(key, found->Json()) : std::string());
        return false;
    }
}

bool ObjectReader::Flag(const Key& key, bool& value) {
    return With(key, [&](const JsonValue& found) { value = found.Bool(); });
}

bool ObjectReader::Text(const Key& key, std::string& value, std::size_t maxBytes) {
    return With(key, [&](const JsonValue& found) { value = found.Text(maxBytes); });
}

bool ObjectReader::WorldWideName(const Key& key, Wwn& value) {
    return With(key, [&](const JsonValue& found) { value = found.WorldWideName(); });
}

bool ObjectReader::Mac(const Key& key, std::array<std::uint8_t, 6>& value) {
    return With(key, [&](const JsonValue& found) { value = found.Mac(); });
}

bool ObjectReader::Guid(const Key& key, std::string& value) {
    return With(key, [&](const JsonValue& found) {
        const std::string text = found.Text();
        if (!IsBracedGuid(text))
            found.FailExpected("a GUID in braces");
        value = text;
    });
}

bool ObjectReader::FunctionName(const Key& key, std::size_t& function) {
    return With(key, [&](const JsonValue& found) {
        const std::string name = found.Text();
        if (const std::size_t index = FunctionIndex(name); index < FUNCTION_COUNT) {
            function = index;
            return;
        }
        const auto nearest = NearestWord(name, {FUNCTION_NAMES.begin(), FUNCTION_NAMES.end()});
        found.FailExpected("the name of a simulated function" +
                           (nearest.empty() ? std::string() : " such as \"" + nearest + "\""));
    });
}

bool ObjectReader::Response(const Key& key, std::vector<std::uint8_t>& bytes, std::size_t max) {
    return With(key, [&](const JsonValue& found) {
        const std::string text = found.Text();
        const std::filesystem::path file = Wide(text);
        try {
            bytes = text.starts_with(INLINE_BYTES)
                        ? ReadHex(std::string_view(text).substr(INLINE_BYTES.size()))
                        : m_responses.read(file.is_absolute() ? file : m_responses.folder / file);
        } catch (const TopologyError& error) {
            found.Fail(error.what());
        }
        if (bytes.size() > max)
            found.Fail("the response is longer than " + std::to_string(max) + " bytes");
    });
}

bool ObjectReader::Signed(const Key& key, std::int64_t min, std::int64_t max, std::int64_t& value) {
    return With(
        key, [&](const JsonValue& found) { value = found.Signed(min, max); }, true);
}

bool ObjectReader::Unsigned(const Key& key, const Range& range, std::uint64_t& value) {
    const auto read = [&](const JsonValue& found) {
        const auto number = found.AsUnsigned();
        if (range.endsOnly && number != range.min && number != range.max)
            found.FailExpected(std::to_string(range.min) + " or " + std::to_string(range.max));
        value = found.Unsigned(range.min, range.max);
    };
    return With(key, read, true);
}

bool ObjectReader::Numbers(const Key& key, std::span<std::int32_t> values) {
    return With(key, [&](const JsonValue& found) {
        const auto entries = found.Array();
        if (entries.size() != values.size())
            found.Fail("expected a list of " + std::to_string(values.size()) + " numbers, one for each priority");
        for (std::size_t i = 0; i < entries.size(); ++i)
            values[i] = static_cast<std::int32_t>(entries[i].Signed(INT32_MIN, INT32_MAX));
    });
}

bool ObjectReader::Names(const Key& key, std::span<Wwn> values) {
    return With(key, [&](const JsonValue& found) {
        const auto entries = found.Array();
        if (entries.size() != values.size())
            found.Fail("expected a list of " + std::to_string(values.size()) + " World Wide Names");
        for (std::size_t i = 0; i < entries.size(); ++i)
            values[i] = entries[i].WorldWideName();
    });
}

bool ObjectReader::Object(const Key& key, const Members& members) {
    const auto found = Find(key);
    if (!found)
        return false;
    ObjectReader reader(*found, m_responses, m_problems);
    members(reader);
    reader.Finish();
    return reader.IsObject();
}

bool ObjectReader::Real(const Key& key, std::uint64_t max, double& value) {
    return With(key, [&](const JsonValue& found) {
        const double number = found.Json().is_number() ? found.Json().get<double>() : 0;
        if (!(number > 0 && number <= static_cast<double>(max)))
            found.FailExpected("a number above 0, up to " + std::to_string(max));
        value = number;
    });
}

bool ObjectReader::Word(const Key& key, std::span<const std::string_view> words, std::string& value) {
    return With(key, [&](const JsonValue& found) {
        const std::string word = found.Json().is_string() ? found.Text() : std::string();
        if (std::ranges::find(words, word) == words.end()) {
            std::string all;
            for (const auto one : words)
                all += (all.empty() ? "\"" : ", \"") + std::string(one) + "\"";
            found.FailExpected("one of " + all);
        }
        value = word;
    });
}

bool ObjectReader::JsonPointer(const Key& key, std::string& value) {
    return With(key, [&](const JsonValue& found) {
        const std::string text = found.Json().is_string() ? found.Text() : std::string("none");
        bool good = text.empty() || text.starts_with('/');
        for (auto tilde = text.find('~'); tilde != std::string::npos; tilde = text.find('~', tilde + 1))
            good = good && tilde + 1 < text.size() && (text[tilde + 1] == '0' || text[tilde + 1] == '1');
        if (!good)
            found.FailExpected("a JSON pointer such as \"/adapters/0/port/state\"");
        value = text;
    });
}

bool ObjectReader::AnyValue(const Key& key) {
    return With(key, [&](const JsonValue& found) {
        if (!Measure(found.Json()).IsWithinDepth())
            found.Fail("the value lies deeper than any of a topology");
    });
}

bool ObjectReader::List(const Key& key, std::size_t max, const Members& entry) {
    return With(key, [&](const JsonValue& found) {
        for (const auto& value : found.Array(max)) {
            ObjectReader reader(value, m_responses, m_problems);
            entry(reader);
            reader.Finish();
        }
    });
}

JsonValue ObjectReader::At(const char* key) const {
    const auto member = key && IsObject() ? m_value.Member(key) : std::nullopt;
    return member.value_or(m_value);
}

void ObjectReader::Refuse(const char* key, const std::string& problem) {
    Add(PlacedError("", At(key).Pointer(), problem));
}

void ObjectReader::RefuseExpected(const char* key, const std::string& what) {
    try {
        At(key).FailExpected(what);
    } catch (const PlacedError& error) {
        Add(error);
    }
}

std::string ObjectReader::Pointer(const char* key) const {
    return At(key).Pointer();
}

bool ObjectReader::Has(const char* key) const {
    return IsObject() && m_value.Json().contains(key);
}

std::size_t ObjectReader::KeyCount() const {
    return IsObject() ? m_value.Json().size() : 0;
}

void ObjectReader::Finish() {
    if (!IsObject())
        return;
    for (const auto& [key, value] : m_value.Json().items()) {
        if (m_problems.size() >= MAX_PROBLEMS)
            return;
        if (std::find(m_known.begin(), m_known.end(), key) != m_known.end())
            continue;
        const auto nearest = NearestWord(key, m_known);
        Refuse(nullptr, "unknown key " + nlohmann::json(key).dump() +
                            (nearest.empty() ? std::string() : "; did you mean \"" + nearest + "\"?"));
        m_problems.back().at += "/" + PointerToken(key);
    }
}

} // namespace sim
