// Reads checked values out of a JSON document. Whatever is not as expected ends in a TopologyError that names the
// document, the place (a JSON pointer) and what was expected there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "simulator/topology/JsonPlaces.h"
#include "simulator/topology/Topology.h"

namespace sim {

// The text is no JSON.
class JsonSyntaxError : public TopologyError {
  public:
    JsonSyntaxError(const std::string& document, TextPlace place, const std::string& problem);
    TextPlace Place() const { return m_place; }
    const std::string& Problem() const { return m_problem; }

  private:
    TextPlace m_place;
    std::string m_problem;
};

// A value is not as expected.
class PlacedError : public TopologyError {
  public:
    PlacedError(const std::string& document, const std::string& pointer, const std::string& problem);
    const std::string& Pointer() const { return m_pointer; }
    const std::string& Problem() const { return m_problem; }

  private:
    std::string m_pointer;
    std::string m_problem;
};

// Parses the text, which may have // and /* */ comments. A syntax error names line and column; a repeated key is an
// error too.
nlohmann::json ParseJson(std::string_view text, const std::string& document);
// The same; repeated gets what would be said of each repeated key.
nlohmann::json ParseJson(std::string_view text, const std::string& document, std::vector<std::string>& repeated);

// One value of the document.
class JsonValue {
  public:
    JsonValue(const nlohmann::json& value, const std::string& document, std::string pointer = {})
        : m_value(&value), m_document(&document), m_pointer(std::move(pointer)) {}

    // "expected WHAT, found ..."
    [[noreturn]] void FailExpected(const std::string& what) const;
    [[noreturn]] void Fail(const std::string& problem) const;

    // The value of an object's key.
    std::optional<JsonValue> Member(const char* key) const;

    bool Bool() const;
    // None: it is no number without sign.
    std::optional<std::uint64_t> AsUnsigned() const;
    // A number or a text such as "0x10f".
    std::uint64_t Unsigned(std::uint64_t min, std::uint64_t max) const;
    std::int64_t Signed(std::int64_t min, std::int64_t max) const;
    // Not longer than so many bytes in the ANSI code page; 0: any length.
    std::string Text(std::size_t maxBytes = 0) const;
    Wwn WorldWideName() const;
    std::array<std::uint8_t, 6> Mac() const;
    std::vector<JsonValue> Array(std::size_t max = SIZE_MAX) const;

    const nlohmann::json& Json() const { return *m_value; }
    const std::string& Document() const { return *m_document; }
    const std::string& Pointer() const { return m_pointer; }

  private:
    const nlohmann::json* m_value;
    const std::string* m_document;
    std::string m_pointer;
};

// The members of an object. Every key that is asked for is known; Finish refuses the others.
class JsonObject {
  public:
    explicit JsonObject(const JsonValue& value);

    std::optional<JsonValue> Find(const char* key);
    JsonValue Require(const char* key);
    void Finish() const;

    // Each leaves the value as it is when the key is not there.
    void Read(const char* key, bool& value);
    void Read(const char* key, std::string& value, std::size_t maxBytes = 0);
    void Read(const char* key, Wwn& value);
    template <class T> void ReadNumber(const char* key, T& value, std::uint64_t max = UINT64_MAX) {
        if (const auto found = Find(key))
            value = static_cast<T>(found->Unsigned(0, std::min<std::uint64_t>(max, std::numeric_limits<T>::max())));
    }

    const JsonValue& Value() const { return m_value; }

  private:
    JsonValue m_value;
    std::vector<std::string> m_known;
};

// The candidate that the word was probably meant to be; empty when none is near.
std::string NearestWord(std::string_view word, const std::vector<std::string>& candidates);

} // namespace sim
