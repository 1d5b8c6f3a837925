#include "tools/fcoectl/Wwn.h"

#include <algorithm>

namespace fcoectl {

std::optional<std::string> CanonicalWwn(std::string_view text) {
    constexpr std::size_t digitCount = 16;
    constexpr std::size_t withColons = digitCount / 2 * 3 - 1;
    const bool colons = text.size() == withColons;
    if (!colons && text.size() != digitCount)
        return std::nullopt;
    std::string wwn;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (colons && i % 3 == 2) {
            if (c != ':')
                return std::nullopt;
            continue;
        }
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 'a' + 'A');
        if (!(c >= '0' && c <= '9') && !(c >= 'A' && c <= 'F'))
            return std::nullopt;
        if (wwn.size() % 3 == 2)
            wwn += ':';
        wwn += c;
    }
    return wwn;
}

} // namespace fcoectl
