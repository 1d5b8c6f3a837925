// What a function of the vendor library answered, and the ways in which each is asked.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FcoeAgent/HbaApi.h"
#include "simulator/verify/Asker.h"

namespace verify {

struct Answer {
    HBA_STATUS status = HBA_STATUS_OK;
    std::vector<std::uint8_t> bytes; // of the output

    bool operator==(const Answer&) const = default;
};

// What the agent hands over is zeros. Another fill tells what the library does not write.
constexpr std::uint8_t ZEROS = 0;
constexpr std::uint8_t PATTERN = 0xC3;

// Asks with a buffer that is filled so.
using Read = std::function<Answer(std::uint8_t fill)>;

struct Reading {
    std::string_view function;
    std::string adapter;
    Read read;
};

bool IsAll(const std::uint8_t* bytes, std::size_t size, std::uint8_t value);

// Asks twice, and once more for what was not written. None: what was answered cannot be used; it is told.
// changes: what is in the output may differ from call to call. what: "target 50:...: " before what was found, or empty.
std::optional<Answer> AskReading(Asker& asker, const Reading& reading, bool changes = false,
                                 const std::string& what = {});
// The two answers tell the same status; what differs is told.
bool SameStatus(Asker& asker, const Reading& reading, HBA_STATUS first, HBA_STATUS second);

// By several threads at once, those of one function together. Each has to be answered as it is now.
void AskByThreads(Asker& asker, const std::vector<Reading>& readings);

} // namespace verify
