#include "simulator/verify/Answer.h"

#include <algorithm>

#include <fmt/format.h>

namespace verify {

bool IsAll(const std::uint8_t* bytes, std::size_t size, std::uint8_t value) {
    return std::all_of(bytes, bytes + size, [value](std::uint8_t byte) { return byte == value; });
}

bool SameStatus(Asker& asker, const Reading& reading, HBA_STATUS first, HBA_STATUS second) {
    if (first == second)
        return true;
    asker.Tell("other_answer", reading.function, reading.adapter, fmt::format("status {}, then {}", first, second));
    return false;
}

std::optional<Answer> AskReading(Asker& asker, const Reading& reading, bool changes, const std::string& what) {
    Answer first, second;
    if (!asker.Ask(reading.function, reading.adapter, [&] { first = reading.read(ZEROS); }) ||
        !asker.Ask(reading.function, reading.adapter, [&] { second = reading.read(ZEROS); }) ||
        !SameStatus(asker, reading, first.status, second.status))
        return std::nullopt;
    if (first.status != HBA_STATUS_OK) {
        asker.Tell("status", reading.function, reading.adapter, fmt::format("{}status {}", what, first.status));
        return std::nullopt;
    }
    if (!changes && first.bytes != second.bytes) {
        const auto differs = std::ranges::mismatch(first.bytes, second.bytes).in1 - first.bytes.begin();
        asker.Tell("other_answer", reading.function, reading.adapter,
                   fmt::format("{}byte {} of the output differs", what, differs));
    }
    if (!IsAll(first.bytes.data(), first.bytes.size(), ZEROS))
        return first;
    Answer patterned;
    if (!asker.Ask(reading.function, reading.adapter, [&] { patterned = reading.read(PATTERN); }))
        return std::nullopt;
    if (IsAll(patterned.bytes.data(), patterned.bytes.size(), PATTERN)) {
        asker.Tell("not_written", reading.function, reading.adapter, fmt::format("{}status 0", what));
        return std::nullopt;
    }
    return first;
}

} // namespace verify
