// A list of records as every form of output shows it: columns and rows.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace reading {

enum class Format {
    Plain,
    Hex,          // texts show a number as 0x and at least six digits; JSON keeps the number
    Code,         // an error code: above 255 as 0x and eight digits
    Rate,         // one digit after the point
    Milliseconds, // three
};

enum class Tone {
    Plain,
    Alarm, // red on a terminal
};

struct SheetColumn {
    std::string key;   // of the JSON member; names the column on the command line and in CSV
    std::string title; // in tables
    bool isNumber = false;
    Format format = Format::Plain;
    unsigned place = 0; // from 1 on in a table, in that order; 0: only where all columns are
    Tone (*tone)(const nlohmann::ordered_json& value) = nullptr;
    // JSON Schema of its values; null: a text or a whole number.
    nlohmann::ordered_json (*schema)() = nullptr;
};

using SheetColumns = std::vector<SheetColumn>;

struct Sheet {
    SheetColumns columns;
    std::vector<std::vector<nlohmann::ordered_json>> rows; // as many values as columns
};

// A value as texts show it: a list's elements with "; " between, nothing for null.
std::string ValueText(const nlohmann::ordered_json& value, Format format);

// The rows as objects.
nlohmann::ordered_json JsonOf(const Sheet& sheet);

} // namespace reading
