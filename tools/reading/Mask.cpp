#include "tools/reading/Mask.h"

#include <cstdint>

#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr std::string_view HEXADECIMAL = "0123456789ABCDEFabcdef";

bool IsHexadecimal(char c) {
    return HEXADECIMAL.find(c) != std::string_view::npos;
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool IsPartOfWord(char c) {
    return IsDigit(c) || IsUpper(c) || IsLower(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

// Numbers that follow from a text alone.
class Stream {
  public:
    // The case of the letters does not count: an identifier is one in any.
    explicit Stream(std::string_view text) {
        for (const char c : text)
            m_state = (m_state ^ static_cast<unsigned char>(IsUpper(c) ? c - 'A' + 'a' : c)) * 0x100000001B3;
    }
    unsigned Next(unsigned below) { // splitmix64
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = (m_state ^ (m_state >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return static_cast<unsigned>((mixed ^ (mixed >> 31)) % below);
    }

  private:
    std::uint64_t m_state = 0xCBF29CE484222325;
};

std::string NameStandIn(std::string_view text) {
    Stream stream(text);
    std::string standIn;
    for (const char c : text) {
        if (IsDigit(c))
            standIn += static_cast<char>('0' + stream.Next(10));
        else if (IsUpper(c))
            standIn += static_cast<char>('A' + stream.Next(26));
        else if (IsLower(c))
            standIn += static_cast<char>('a' + stream.Next(26));
        else if (static_cast<unsigned char>(c) >= 0xC0) // the first byte of a character that is none of ASCII's
            standIn += static_cast<char>('a' + stream.Next(26));
        else if (static_cast<unsigned char>(c) < 0x80)
            standIn += c;
    }
    return standIn;
}

// As it stands in JSON, without the quotes around it.
std::string InJson(std::string_view text) {
    using Json = nlohmann::ordered_json;
    const std::string quoted = Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

// As it stands in CSV between quotes.
std::string InCsv(std::string_view text) {
    std::string doubled;
    for (const char c : text)
        doubled += std::string(c == '"' ? 2 : 1, c);
    return doubled;
}

// Groups of hexadecimal digits with one character between two of them, as many as an address has.
struct Shape {
    std::string_view groups; // the digits of each group, as a digit
    char separator;
    std::size_t kept; // digits at the start that tell the kind and stay
};

constexpr Shape SHAPES[] = {
    {"22222222", ':', 1}, // World Wide Name: the first digit is the kind of its naming authority
    {"84445", '-', 0},    // GUID, its last group below
    {"222222", ':', 0},   // MAC address
    {"222222", '-', 0},
};
constexpr std::size_t GUID_LAST_GROUP = 12;

std::size_t DigitsOf(const Shape& shape, std::size_t group) {
    return shape.groups[group] == '5' ? GUID_LAST_GROUP : static_cast<std::size_t>(shape.groups[group] - '0');
}

// How long the address is that begins the text; 0: it begins with none of that shape.
std::size_t Length(std::string_view text, const Shape& shape) {
    std::size_t at = 0;
    for (std::size_t group = 0; group < shape.groups.size(); ++group) {
        if (group && (at >= text.size() || text[at++] != shape.separator))
            return 0;
        for (std::size_t digits = DigitsOf(shape, group); digits > 0; --digits, ++at)
            if (at >= text.size() || !IsHexadecimal(text[at]))
                return 0;
    }
    const bool goesOn =
        at < text.size() && (IsPartOfWord(text[at]) ||
                             (text[at] == shape.separator && at + 1 < text.size() && IsHexadecimal(text[at + 1])));
    return goesOn ? 0 : at;
}

std::string AddressStandIn(std::string_view address, std::size_t kept) {
    if (address.find_first_not_of("0:-") == std::string_view::npos)
        return std::string(address);
    Stream stream(address);
    std::string standIn;
    for (const char c : address) {
        if (!IsHexadecimal(c)) {
            standIn += c;
        } else if (kept > 0) {
            standIn += c;
            --kept;
        } else {
            const char digit = HEXADECIMAL[stream.Next(16)];
            standIn += IsLower(c) && IsUpper(digit) ? static_cast<char>(digit - 'A' + 'a') : digit;
        }
    }
    return standIn;
}

// The stand-in of the address that begins the text, and its length, which is the address's; empty: none does.
std::string FindAddress(std::string_view text) {
    for (const Shape& shape : SHAPES)
        if (const std::size_t length = Length(text, shape))
            return AddressStandIn(text.substr(0, length), shape.kept);
    return {};
}

} // namespace

void Mask::Learn(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos)
        return;
    text = text.substr(begin, text.find_last_not_of(' ') - begin + 1);
    const std::string standIn = NameStandIn(text);
    m_standIns[text.front()].try_emplace(std::string(text), standIn);
    for (std::string (*spelled)(std::string_view) : {InJson, InCsv, Printable}) {
        const std::string spelling = spelled(text);
        m_standIns[spelling.front()].try_emplace(spelling, spelled(standIn));
    }
}

const std::pair<const std::string, std::string>* Mask::FindName(std::string_view text, std::size_t at) const {
    const auto names = m_standIns.find(text[at]);
    if (names == m_standIns.end() || (at > 0 && IsPartOfWord(text[at]) && IsPartOfWord(text[at - 1])))
        return nullptr;
    for (const auto& name : names->second) {
        const std::size_t end = at + name.first.size();
        if (text.substr(at).starts_with(name.first) &&
            (end == text.size() || !IsPartOfWord(name.first.back()) || !IsPartOfWord(text[end])))
            return &name;
    }
    return nullptr;
}

std::string Mask::Apply(std::string_view text) const {
    std::string masked;
    for (std::size_t at = 0; at < text.size();) {
        // Not in the middle of a word, nor of an address with more groups.
        const bool begins =
            at == 0 || (!IsPartOfWord(text[at - 1]) && !(at > 1 && text[at - 1] == ':' && IsHexadecimal(text[at - 2])));
        if (const auto* name = FindName(text, at)) {
            masked += name->second;
            at += name->first.size();
        } else if (const std::string address = begins ? FindAddress(text.substr(at)) : ""; !address.empty()) {
            masked += address;
            at += address.size();
        } else {
            masked += text[at++];
        }
    }
    return masked;
}

void Mask::Apply(nlohmann::ordered_json& value) const {
    if (value.is_string())
        value = Apply(value.get<std::string>());
    else if (value.is_structured())
        for (auto& element : value)
            Apply(element);
}

} // namespace reading
