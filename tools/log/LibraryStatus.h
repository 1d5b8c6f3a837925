// What the vendor library answers, in words.
#pragma once

#include <cstdint>
#include <string>

namespace agentlog {

// Of a status of the SNIA HBA API: its name there, and what it means.
struct LibraryStatus {
    std::uint32_t value;
    const char* name; // "HBA_STATUS_ERROR_INVALID_HANDLE"
    const char* meaning;
};

// Null for a number that the API does not define.
[[nodiscard]] const LibraryStatus* FindLibraryStatus(std::uint32_t value);

// "invalid handle (status 3)"; of an unknown one "unknown status (status 77)".
[[nodiscard]] std::string LibraryStatusText(std::uint32_t value);

} // namespace agentlog
