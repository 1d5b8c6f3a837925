// Where the values of a JSON document stand in its text.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// Offsets in bytes.
struct JsonSpan {
    std::size_t key = 0; // where the member's name starts; that of the value when it has none
    std::size_t begin = 0;
    std::size_t end = 0;
};

// From 1; the column counts characters.
struct TextPlace {
    std::size_t line = 1;
    std::size_t column = 1;
};

// Tells the places of offsets that come in ascending order, in one walk through the text.
class PlaceWalk {
  public:
    explicit PlaceWalk(std::string_view text);
    TextPlace To(std::size_t offset);

  private:
    std::string_view m_text;
    std::size_t m_at = 0;
    TextPlace m_place;
};

class JsonPlaces {
  public:
    // text: a whole document that the parser accepts, with or without comments.
    explicit JsonPlaces(std::string_view text);

    // By JSON pointer; null: the document has no such value, or it lies deeper than MAX_DEPTH.
    const JsonSpan* Find(const std::string& pointer) const;
    // The value, or the innermost one around the place where it would be.
    const JsonSpan& Nearest(std::string pointer) const;

    // Of an object or list, in the order of the text.
    std::vector<JsonSpan> Members(const std::string& pointer) const;

    // A key that its object has already.
    struct Repeated {
        std::string pointer;
        std::size_t offset;
    };
    const std::vector<Repeated>& RepeatedKeys() const { return m_repeated; }

    // Beyond that values are not told apart: a text of brackets alone must not cost more than itself.
    static constexpr std::size_t MAX_DEPTH = 12;

  private:
    friend class PlaceScanner;
    std::map<std::string, JsonSpan> m_spans;
    std::vector<Repeated> m_repeated;
};

// The offset behind blanks and comments.
std::size_t SkipBlanks(std::string_view text, std::size_t offset);

// A key as a JSON pointer spells it, and back.
std::string PointerToken(std::string_view key);
std::string KeyOfToken(std::string_view token);

} // namespace sim
