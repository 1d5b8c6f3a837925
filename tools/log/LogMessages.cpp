#include "tools/log/LogMessages.h"

#include <array>
#include <charconv>

namespace agentlog {
namespace {

// Where in the table the patterns with one first character stand. Those that begin with an argument are compared with
// every text.
struct Index {
    std::array<std::uint16_t, 256> first{};
    std::array<std::uint16_t, MESSAGE_TABLE_LIMIT> next{}; // 1 more than the place; 0: no further one

    Index() {
        const auto table = LogMessages();
        for (std::size_t i = table.size(); i-- > 0;) { // so that the first of the table is found first
            const auto character = static_cast<unsigned char>(table[i].pattern.front());
            next[i] = first[character];
            first[character] = static_cast<std::uint16_t>(i + 1);
        }
    }
};

bool IsDigit(char c, bool hexadecimal) {
    return (c >= '0' && c <= '9') || (hexadecimal && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
}

// How many characters of the text are a number.
std::size_t NumberLength(std::string_view text, bool hexadecimal) {
    std::size_t length = !hexadecimal && text.starts_with('-') ? 1 : 0;
    const std::size_t sign = length;
    while (length < text.size() && IsDigit(text[length], hexadecimal))
        ++length;
    return length > sign ? length : 0;
}

// A conversion at the pattern's beginning. The incomplete "%l" of one message prints nothing.
struct Conversion {
    std::size_t length;
    enum { Text, Decimal, Hexadecimal, Nothing } kind;
};

Conversion ConversionAt(std::string_view pattern) {
    if (pattern.starts_with("%lld"))
        return {4, Conversion::Decimal};
    if (pattern.starts_with("%llX"))
        return {4, Conversion::Hexadecimal};
    if (pattern.starts_with("%l"))
        return {2, Conversion::Nothing};
    const char kind = pattern[1];
    return {2, kind == 's' ? Conversion::Text : kind == 'd' ? Conversion::Decimal : Conversion::Hexadecimal};
}

// Whether the whole text is the pattern with its arguments. argument: the first one.
bool Matches(std::string_view text, std::string_view pattern, std::string_view& argument) {
    bool have = false;
    for (;;) {
        const std::size_t percent = pattern.find('%');
        const std::string_view literal = pattern.substr(0, percent);
        if (!text.starts_with(literal))
            return false;
        text.remove_prefix(literal.size());
        if (percent == std::string_view::npos)
            return text.empty();
        pattern.remove_prefix(percent);
        const Conversion conversion = ConversionAt(pattern);
        pattern.remove_prefix(conversion.length);
        std::size_t length = 0;
        if (conversion.kind == Conversion::Text)
            length = pattern.empty() ? text.size() : text.rfind(pattern.substr(0, pattern.find('%')));
        else if (conversion.kind != Conversion::Nothing)
            length = NumberLength(text, conversion.kind == Conversion::Hexadecimal);
        const bool number = conversion.kind == Conversion::Decimal || conversion.kind == Conversion::Hexadecimal;
        if (length == std::string_view::npos || (length == 0 && number))
            return false;
        if (!have)
            argument = text.substr(0, length);
        have = true;
        text.remove_prefix(length);
    }
}

} // namespace

const char* NameOf(Neighbour neighbour) {
    switch (neighbour) {
    case Neighbour::VendorLibrary:
        return "vendor library";
    case Neighbour::CoreAgent:
        return "core agent";
    case Neighbour::DcbService:
        return "DCB service";
    case Neighbour::System:
        return "Windows";
    case Neighbour::None:
        break;
    }
    return "";
}

std::optional<std::uint32_t> FoundMessage::Number() const {
    const bool hexadecimal = message->argument == Argument::HResult;
    std::int64_t value = 0;
    const auto [end, error] =
        std::from_chars(argument.data(), argument.data() + argument.size(), value, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != argument.data() + argument.size())
        return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

std::optional<FoundMessage> FindMessage(std::string_view text) {
    static const Index index;
    const auto table = LogMessages();
    if (text.empty())
        return std::nullopt;
    for (const char start : {text.front(), '%'})
        for (std::uint16_t place = index.first[static_cast<unsigned char>(start)]; place != 0;
             place = index.next[place - 1u]) {
            FoundMessage found{&table[place - 1u], {}};
            if (Matches(text, found.message->pattern, found.argument))
                return found;
        }
    return std::nullopt;
}

} // namespace agentlog
