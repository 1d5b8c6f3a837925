#include "tools/reading/LogHint.h"

#include <fmt/format.h>

#include "tools/reading/LogPlace.h"
#include "tools/reading/Text.h"

namespace reading {
namespace {

// The file that tells of this process; when none does, as after no error with errors only, both that it can be.
std::string Place() {
    const std::wstring registered = RegisteredLogFile();
    const std::wstring temporary = TemporaryLogFile();
    const std::wstring own = OwnLogFile();
    if (own.empty())
        return fmt::format("{}, or {} when that file cannot be written", ToUtf8(registered), ToUtf8(temporary));
    if (own == registered)
        return ToUtf8(registered);
    return fmt::format("{}, because {} cannot be written", ToUtf8(temporary), ToUtf8(registered));
}

} // namespace

std::string LogHint() {
    const LogSettings settings = ReadLogSettings();
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(settings.key);
    if (!settings.keyExists)
        return fmt::format("The agent writes no log, because the registry key \"{}\" is missing.", where);
    if (settings.WritesNothing())
        return fmt::format("The agent's log is turned off: \"TRACE\" is 0 under \"{}\"; 1 turns it on.", where);
    if (settings.WritesErrorsOnly())
        return fmt::format("The agent's log is {} (errors only: \"TRACE\" is 2).", Place());
    return fmt::format("The agent's log is {}.", Place());
}

} // namespace reading
