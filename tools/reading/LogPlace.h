// Where the agent's log is, as the registry and the environment have it, and which file this process's agent writes.
#pragma once

#include <string>

#include <windows.h>

namespace reading {

struct LogSettings {
    std::wstring key; // below HKEY_LOCAL_MACHINE
    bool keyExists = false;
    DWORD level = 1; // TRACE, as the agent takes it

    bool WritesNothing() const { return !keyExists || level == 0; }
    // No progress and no traced operations: who looks for a failure finds little.
    bool WritesErrorsOnly() const { return !WritesNothing() && level == 2; }
};

[[nodiscard]] LogSettings ReadLogSettings();

// Full paths.
[[nodiscard]] std::wstring RegisteredLogFile();
// Taken when the registered one cannot be written.
[[nodiscard]] std::wstring TemporaryLogFile();

// Of these two the one that this process's agent wrote; empty when neither tells of it, as after no error with errors
// only.
[[nodiscard]] std::wstring OwnLogFile();

} // namespace reading
