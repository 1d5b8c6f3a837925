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

#include "simulator/topology/Topology.h"

namespace sim {

// Parses the text, which may have // and /* */ comments. A syntax error names line and column; a repeated key is an
// error too.
nlohmann::json ParseJson(std::string_view text, const std::string& document);

// One value of the document.
class JsonValue {
  public:
    JsonValue(const nlohmann::json& value, const std::string& document, std::string pointer = {})
        : m_value(&value), m_document(&document), m_pointer(std::move(pointer)) {}

    // "expected WHAT, found ..."
    [[noreturn]] void FailExpected(const std::string& what) const;
    [[noreturn]] void Fail(const std::string& problem) const;

    bool Bool() const;
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
