#include "simulator/topology/Hints.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string_view>

#include "simulator/topology/JsonReader.h"

namespace sim {
namespace {

bool ConsistsOf(std::string_view text, int (*isOne)(int)) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [&](unsigned char c) { return isOne(c) != 0; });
}

// Without the marks and the letter case that people write differently.
std::string Plain(std::string_view text) {
    std::string plain;
    for (const char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return plain;
}

// "10 Gbit/s" and "10 Gbps" are one.
bool IsName(std::string_view text, std::string_view name) {
    const std::string plain = Plain(text);
    const std::string wanted = Plain(name);
    return plain == wanted || (wanted.ends_with("gbits") && plain == wanted.substr(0, wanted.size() - 4) + "bps") ||
           (wanted.ends_with("gbits") && plain == wanted.substr(0, wanted.size() - 4));
}

// HRESULTs are known by their hexadecimal digits.
std::string NumberText(std::uint64_t number) {
    if (number < 0x80000000)
        return std::to_string(number);
    char digits[17];
    *std::to_chars(digits, digits + 16, number, 16).ptr = '\0';
    std::string text = digits;
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return "0x" + text;
}

std::string NumberNamed(const Key& key, std::string_view text) {
    for (const auto& [name, number] : key.names) {
        if (IsName(text, name))
            return std::string(name) + " is " + NumberText(number);
    }
    std::string all;
    for (const auto& [name, number] : key.names)
        all += (all.empty() ? "" : ", ") + NumberText(number) + " " + name;
    return "the numbers are " + all;
}

// "100 GB" as a number of bytes; 0: no size, or one beyond 64 bits.
std::uint64_t Bytes(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !(number > 0))
        return 0;
    const std::string unit = Plain({end, text.data() + text.size()});
    constexpr std::string_view LETTERS = "kmgtpe";
    const auto power = unit.empty() ? std::string_view::npos : LETTERS.find(unit[0]);
    const bool decimal = unit.size() == 1 || unit.ends_with("b");
    if (power == std::string_view::npos || !decimal)
        return 0;
    const double bytes = number * std::pow(unit.size() == 3 && unit[1] == 'i' ? 1024.0 : 1000.0, power + 1.0);
    return bytes < 9e18 ? static_cast<std::uint64_t>(bytes) : 0;
}

std::string OfText(const Key& key, const std::string& text) {
    if (key.name == std::string_view("blocks")) {
        constexpr std::uint64_t BLOCK = 512;
        const std::uint64_t bytes = Bytes(text);
        return "the capacity is blocks \xC3\x97 block_length bytes" +
               (bytes == 0
                    ? std::string()
                    : ": " + text + " are " + std::to_string(bytes / BLOCK) + " blocks of " + std::to_string(BLOCK));
    }
    if (ConsistsOf(text, std::isdigit))
        return "write " + text + " without quotes" +
               (key.names.empty() ? ", or \"0x" + text + "\" if it is hexadecimal" : "");
    if (ConsistsOf(text, std::isxdigit))
        return "write \"0x" + text + "\"";
    if (!key.names.empty())
        return NumberNamed(key, text);
    return {};
}

} // namespace

std::string Hint(const Key& key, const nlohmann::json& value) {
    if (!value.is_string())
        return {};
    return OfText(key, value.get<std::string>());
}

} // namespace sim
