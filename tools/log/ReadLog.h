// A log file from its beginning to its end, or on and on.
#pragma once

#include <functional>
#include <string>

#include "tools/log/LogFile.h"
#include "tools/log/Tracker.h"

namespace agentlog {

// What reading came to.
struct ReadResult {
    DWORD error = 0; // Win32 error; 0: read
    std::uint64_t bytes = 0;
    std::uint64_t lines = 0;
    std::uint64_t unreadable = 0; // lines of another form
    bool cut = false;             // the last line has no end
};

// wait: called at the end of the file; whether to look again. Null: the end is the end. A file that is written anew
// meanwhile is read from its beginning, by a new tracker: what was open is told of as unfinished.
[[nodiscard]] ReadResult ReadLog(const std::wstring& path, Listener& listener,
                                 const std::function<bool()>& wait = nullptr);

} // namespace agentlog
