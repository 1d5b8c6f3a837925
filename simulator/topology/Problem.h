// Something wrong with a topology file, or surely meant otherwise.
#pragma once

#include <cstddef>
#include <string>

namespace sim {

struct Problem {
    enum class Kind {
        Text,   // the text is no JSON: line and column are the place
        Key,    // a key is given twice
        Value,  // the JSON pointer is the place
        Nothing // the file cannot be read: it has no places
    };

    Kind kind = Kind::Value;
    std::string code;       // of a warning, for programs; empty: an error
    std::string pointer;    // the value's; of a missing or unknown key that of its object
    std::string at;         // where in the text it is, as a pointer; an unknown key's own
    std::string text;       // what is wrong
    std::string advice;     // may be empty
    std::size_t offset = 0; // the place in the text, in bytes
    std::size_t line = 0;   // from 1; 0: unknown
    std::size_t column = 0; // in characters

    // "/adapters/0: unknown key ..."
    std::string Message() const;
    // As modules say it, on one line that begins with the document's name.
    std::string OneLine(const std::string& document) const;
};

} // namespace sim
