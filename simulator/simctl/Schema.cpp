#include "simulator/simctl/Schema.h"

#include <string>
#include <vector>

#include "simulator/topology/Format.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/JsonReader.h"

namespace simctl {
namespace {

using nlohmann::ordered_json;
using sim::Key;

// "[0-9a-bA-B]": the digits below one.
std::string DigitsBelow(char digit) {
    if (digit <= '9')
        return std::string("[0-") + static_cast<char>(digit - 1) + "]";
    std::string set = "[0-9";
    if (digit > 'a')
        set += std::string("a-") + static_cast<char>(digit - 1) + "A-" + static_cast<char>(digit - 1 - 'a' + 'A');
    return set + "]";
}

std::string OneDigit(char digit) {
    if (digit <= '9')
        return std::string(1, digit);
    return std::string("[") + digit + static_cast<char>(digit - 'a' + 'A') + "]";
}

std::string AnyDigits(std::size_t count) {
    return count == 0 ? "" : count == 1 ? "[0-9a-fA-F]" : "[0-9a-fA-F]{" + std::to_string(count) + "}";
}

ordered_json NumberSchema(const sim::Range& range) {
    if (range.endsOnly)
        return {{"anyOf",
                 {{{"enum", {range.min, range.max}}},
                  {{"type", "string"},
                   {"pattern", "^0[xX]0*(" + HexadecimalDigits(range.min, range.min).substr(2) + "|" +
                                   HexadecimalDigits(range.max, range.max).substr(2) + ")$"}}}}};
    return {{"anyOf",
             {{{"type", "integer"}, {"minimum", range.min}, {"maximum", range.max}},
              {{"type", "string"}, {"pattern", "^0[xX]" + HexadecimalDigits(range.min, range.max) + "$"}}}}};
}

// Writes down what an object may have.
class ObjectSchema final : public sim::Keys {
  public:
    bool Flag(const Key& key, bool& value) override { return Add(key, {{"type", "boolean"}}, value); }
    bool Text(const Key& key, std::string& value, std::size_t maxBytes) override {
        ordered_json schema{{"type", "string"}};
        if (maxBytes != 0)
            schema["maxLength"] = maxBytes;
        return value.empty() ? Add(key, schema) : Add(key, schema, value);
    }
    bool WorldWideName(const Key& key, sim::Wwn&) override { return Add(key, {{"$ref", "#/$defs/wwn"}}); }
    bool Mac(const Key& key, std::array<std::uint8_t, 6>&) override { return Add(key, {{"$ref", "#/$defs/mac"}}); }
    bool Guid(const Key& key, std::string&) override { return Add(key, {{"$ref", "#/$defs/guid"}}); }
    bool FunctionName(const Key& key, std::size_t&) override { return Add(key, {{"enum", sim::FUNCTION_NAMES}}); }
    bool Response(const Key& key, std::vector<std::uint8_t>&, std::size_t) override {
        return Add(key, {{"type", "string"}, {"pattern", "^(?!hex:)|^hex: *[0-9A-Fa-f]{2}( *[0-9A-Fa-f]{2})* *$"}});
    }
    bool Signed(const Key& key, std::int64_t min, std::int64_t max, std::int64_t& value) override {
        return Add(key, {{"type", "integer"}, {"minimum", min}, {"maximum", max}}, value);
    }
    bool Unsigned(const Key& key, const sim::Range& range, std::uint64_t& value) override {
        return Add(key, NumberSchema(range), value);
    }
    bool Numbers(const Key& key, std::span<std::int32_t> values) override {
        return Add(key, ListOf({{"type", "integer"}, {"minimum", INT32_MIN}, {"maximum", INT32_MAX}}, values.size()),
                   std::vector<std::int32_t>(values.begin(), values.end()));
    }
    bool Names(const Key& key, std::span<sim::Wwn> values) override {
        return Add(key, ListOf({{"$ref", "#/$defs/wwn"}}, values.size()));
    }
    bool Object(const Key& key, const Members& members) override {
        ObjectSchema object;
        members(object);
        return Add(key, object.Schema());
    }
    bool List(const Key& key, std::size_t max, const Members& entry) override {
        ObjectSchema object;
        entry(object);
        ordered_json schema{{"type", "array"}, {"items", object.Schema()}};
        if (max != SIZE_MAX)
            schema["maxItems"] = max;
        return Add(key, schema);
    }
    bool Real(const Key& key, std::uint64_t max, double&) override {
        return Add(key, {{"type", "number"}, {"exclusiveMinimum", 0}, {"maximum", max}});
    }
    bool Word(const Key& key, std::span<const std::string_view> words, std::string&) override {
        return Add(key, {{"enum", std::vector<std::string_view>(words.begin(), words.end())}});
    }
    bool JsonPointer(const Key& key, std::string&) override { return Add(key, {{"$ref", "#/$defs/pointer"}}); }
    bool AnyValue(const Key& key) override { return Add(key, ordered_json::object()); }
    void Rule(const char* schema) override { m_rules.push_back(ordered_json::parse(schema)); }

    ordered_json Schema() const {
        ordered_json schema{{"type", "object"}, {"properties", m_properties}};
        if (!m_required.empty())
            schema["required"] = m_required;
        schema["additionalProperties"] = false;
        if (!m_rules.empty())
            schema["allOf"] = m_rules;
        return schema;
    }

  private:
    static ordered_json ListOf(const ordered_json& items, std::size_t count) {
        return {{"type", "array"}, {"items", items}, {"minItems", count}, {"maxItems", count}};
    }

    bool Add(const Key& key, const ordered_json& schema) {
        std::string about = key.about;
        std::string names;
        for (const auto& [name, number] : key.names)
            names += (names.empty() ? "" : ", ") + std::to_string(number) + " " + name;
        if (!names.empty())
            about += ": " + names;
        if (key.byDefault)
            about += std::string(". Default: ") + key.byDefault;
        ordered_json described{{"description", about}};
        described.update(schema);
        m_properties[key.name] = std::move(described);
        if (key.required)
            m_required.emplace_back(key.name);
        return false;
    }

    template <class Value> bool Add(const Key& key, const ordered_json& schema, const Value& value) {
        Add(key, schema);
        if (!key.byDefault && !key.required)
            m_properties[key.name]["default"] = value;
        return false;
    }

    ordered_json m_properties = ordered_json::object();
    std::vector<std::string> m_required;
    std::vector<ordered_json> m_rules;
};

ordered_json Groups(const char* about, int more) {
    return {{"description", about},
            {"type", "string"},
            {"pattern", "^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){" + std::to_string(more) + "}$"}};
}

} // namespace

std::string HexadecimalDigits(std::uint64_t min, std::uint64_t max) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string digits;
    for (std::uint64_t rest = max; rest != 0; rest /= 16)
        digits.insert(digits.begin(), DIGITS[rest % 16]);
    const std::string notZero = min == 0 || min == max ? "" : "(?!0*$)";
    if (digits.find_first_not_of('f') == std::string::npos)
        return notZero + "0*[0-9a-fA-F]{1," + std::to_string(digits.size()) + "}";
    std::string numbers;
    // The same beginning and a lower digit, whatever follows.
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (min != max && digits[i] != '0' && !(i == 0 && digits[i] == '1' && digits.size() > 1)) {
            std::string same;
            for (std::size_t before = 0; before < i; ++before)
                same += OneDigit(digits[before]);
            numbers += same + DigitsBelow(digits[i]) + AnyDigits(digits.size() - 1 - i) + "|";
        }
    }
    if (min != max && digits.size() > 1)
        numbers += "[0-9a-fA-F]{1," + std::to_string(digits.size() - 1) + "}|";
    for (const char digit : digits)
        numbers += OneDigit(digit);
    return notZero + "0*(" + numbers + ")";
}

ordered_json TopologySchema() {
    ObjectSchema object;
    sim::Topology topology;
    sim::Describe(object, topology);
    ordered_json schema{{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                        {"$id", "urn:orvan-simulator:topology:1"},
                        {"title", "Topology of the simulated suite"},
                        {"description", "What the simulated suite shows; docs/simulator.md tells more"},
                        {"allowComments", true}};
    schema.update(object.Schema());
    const std::vector<std::string_view> foundByName(sim::FUNCTION_NAMES.begin(),
                                                    sim::FUNCTION_NAMES.begin() + sim::LAST_FOUND_BY_NAME + 1);
    schema["$defs"] = {
        {"wwn", Groups("World Wide Name, such as 20:00:02:05:7C:10:20:30", 7)},
        {"mac", Groups("MAC address, such as 02:05:7C:10:20:30", 5)},
        {"guid",
         {{"type", "string"},
          {"pattern", "^\\{[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}\\}$"}}},
        {"found_by_name", {{"enum", foundByName}}},
        {"pointer",
         {{"description", "JSON pointer (RFC 6901), such as /adapters/0/port/state"},
          {"type", "string"},
          {"pattern", "^(/([^~/]|~[01])*)*$"}}},
        {"recorded", {{"enum", sim::RECORDED_FUNCTIONS}}}};
    return schema;
}

} // namespace simctl
