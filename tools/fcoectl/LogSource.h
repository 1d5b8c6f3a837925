// The log that a command reads, and what it says of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/fcoectl/Command.h"
#include "tools/log/ReadLog.h"

namespace fcoectl {

// The file after --file; else the one that was written last of those that the agent can have written. Throws Failure
// when there is none.
std::wstring ChosenLog(const LogOptions& options);

// Reads it whole, and tells of the file in the document and, where something is not as it should be, in the notes.
// wait: see ReadLog. Throws Failure.
agentlog::ReadResult ReadChosenLog(Context& context, const std::wstring& file, agentlog::Listener& listener,
                                   const std::function<bool()>& wait = nullptr);

// "14:03:27.512" of the milliseconds of a day.
std::string TimeText(std::uint32_t milliseconds);

} // namespace fcoectl
