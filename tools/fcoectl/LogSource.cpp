#include "tools/fcoectl/LogSource.h"

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/reading/LogHint.h"
#include "tools/reading/LogPlace.h"

namespace fcoectl {
namespace {

// When the file was written last; 0 when there is none.
std::uint64_t WrittenAt(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data))
        return 0;
    return std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 | data.ftLastWriteTime.dwLowDateTime;
}

} // namespace

std::wstring ChosenLog(const LogOptions& options) {
    if (!options.file.empty())
        return FullPath(FromUtf8(options.file));
    const std::wstring registered = reading::RegisteredLogFile();
    const std::wstring temporary = reading::TemporaryLogFile();
    const std::uint64_t registeredTime = WrittenAt(registered);
    const std::uint64_t temporaryTime = WrittenAt(temporary);
    if (registeredTime == 0 && temporaryTime == 0)
        throw Failure(Exit::LogUnreadable,
                      fmt::format("There is no log: neither {} nor {}.", ToUtf8(registered), ToUtf8(temporary)),
                      {LogHint()});
    return temporaryTime > registeredTime ? temporary : registered;
}

agentlog::ReadResult ReadChosenLog(Context& context, const std::wstring& file, agentlog::Listener& listener,
                                   const std::function<bool()>& wait) {
    const agentlog::ReadResult result = agentlog::ReadLog(file, listener, wait);
    if (result.error != ERROR_SUCCESS)
        throw Failure(Exit::LogUnreadable,
                      fmt::format("\"{}\" cannot be read: {}", ToUtf8(file), SystemMessage(result.error)),
                      {Describe(Exit::LogUnreadable).advice});
    auto& body = context.report.body;
    body["file"] = ToUtf8(file);
    body["bytes"] = result.bytes;
    body["lines"] = result.lines;
    body["unreadable_lines"] = result.unreadable;
    body["cut"] = result.cut;
    if (result.lines == 0)
        context.report.notes.push_back(fmt::format("The log {} is empty.", ToUtf8(file)));
    else if (result.lines == result.unreadable)
        context.report.notes.push_back(fmt::format("{} is no log of the agent.", ToUtf8(file)));
    else if (result.unreadable > 0)
        context.report.notes.push_back(
            fmt::format("{} of the {} lines are cut, torn or of another form.", result.unreadable, result.lines));
    return result;
}

std::string TimeText(std::uint32_t milliseconds) {
    const std::uint32_t seconds = milliseconds / 1000;
    return fmt::format("{:02}:{:02}:{:02}.{:03}", seconds / 3600, seconds / 60 % 60, seconds % 60, milliseconds % 1000);
}

} // namespace fcoectl
