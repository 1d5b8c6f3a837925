#include "tools/fcoectl/DisplayWidth.h"

#include <algorithm>

#include "tools/fcoectl/CharacterRanges.h"

namespace fcoectl {
namespace {

constexpr char32_t ZERO_WIDTH_JOINER = 0x200D;
constexpr char32_t EMOJI_SELECTOR = 0xFE0F;
constexpr char32_t FIRST_SKIN_TONE = 0x1F3FB;
constexpr char32_t LAST_SKIN_TONE = 0x1F3FF;

// The next character; the text begins behind it then. What is no UTF-8 counts byte by byte.
char32_t Take(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length && i < text.size(); ++i)
        code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
    text.remove_prefix(std::min(length, text.size()));
    return code;
}

bool IsIn(std::span<const CharacterRange> ranges, char32_t code) {
    const auto after = std::ranges::upper_bound(ranges, code, {}, &CharacterRange::first);
    return after != ranges.begin() && code <= (after - 1)->last;
}

std::size_t WidthOf(char32_t code) {
    if (code < ZeroWidthCharacters().front().first)
        return 1;
    if (IsIn(ZeroWidthCharacters(), code))
        return 0;
    return IsIn(WideCharacters(), code) ? 2 : 1;
}

} // namespace

std::size_t DisplayWidth(std::string_view utf8) {
    std::size_t width = 0;
    std::size_t before = 0; // of the character before
    bool joined = false;
    while (!utf8.empty()) {
        const char32_t code = Take(utf8);
        if (code == EMOJI_SELECTOR && before == 1) {
            ++width; // shown as an emoji from here on
            before = 2;
            continue;
        }
        const bool coloursBefore = before == 2 && code >= FIRST_SKIN_TONE && code <= LAST_SKIN_TONE;
        const std::size_t own = joined || coloursBefore ? 0 : WidthOf(code);
        width += own;
        before = own ? own : before;
        joined = code == ZERO_WIDTH_JOINER;
    }
    return width;
}

} // namespace fcoectl
