// The log: whether it is on, where it is, how large, and whether this account can write it.
#include <filesystem>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/log/LogFile.h"
#include "tools/log/LogLine.h"
#include "tools/reading/LogPlace.h"

namespace fcoectl {
namespace {

constexpr DWORD HIGHEST_LEVEL = 4;
constexpr std::uint64_t LARGE = 100'000'000; // bytes

std::string SizeText(std::uint64_t bytes) {
    return bytes < 1'000'000 ? fmt::format("{} bytes", bytes)
                             : fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

// Whether the file, or one in its place, can be written now; nothing changes. ERROR_SUCCESS: yes.
DWORD WriteError(const std::wstring& file) {
    const bool there = GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
    // As the agent opens it, but for emptying it; where there is none, one that goes again.
    const HANDLE opened =
        CreateFileW(file.c_str(), GENERIC_WRITE | (there ? 0 : DELETE), FILE_SHARE_READ, nullptr,
                    there ? OPEN_EXISTING : CREATE_NEW, there ? 0 : FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(opened);
    return ERROR_SUCCESS;
}

// The process that wrote the log's first line; 0: it does not tell.
std::uint32_t WriterOf(const std::wstring& file) {
    agentlog::LogFile log;
    if (!log.Open(file))
        return 0;
    const auto first = log.Next();
    const auto line = first ? agentlog::ParseLine(*first) : std::nullopt;
    return line ? line->process : 0;
}

} // namespace

void CheckLogLevel(Examination& examination) {
    const reading::LogSettings settings = reading::ReadLogSettings();
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(settings.key);
    constexpr char on[] = "Set TRACE to 1, so that failures that the agent does not report can be seen.";
    if (!settings.keyExists)
        examination.Warn(fmt::format("There is no log: the key \"{}\" is missing.", where), on);
    else if (settings.WritesNothing())
        examination.Warn(fmt::format("The log is off: \"TRACE\" under \"{}\" is 0.", where), on);
    else if (settings.WritesErrorsOnly())
        examination.Warn(fmt::format("The log has errors only: \"TRACE\" under \"{}\" is 2.", where), on);
    else if (settings.level > HIGHEST_LEVEL)
        examination.Warn(fmt::format("\"TRACE\" under \"{}\" is {}, which acts as 3.", where, settings.level), on);
    else
        examination.Ok(fmt::format("The log is on, level {}.", settings.level));
}

void CheckLogFile(Examination& examination) {
    if (reading::ReadLogSettings().WritesNothing())
        return;
    const std::wstring file = reading::RegisteredLogFile();
    const std::wstring second = reading::TemporaryLogFile();
    const std::string shown = ToUtf8(file);
    std::error_code none;
    const std::uint64_t size =
        GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES ? 0 : std::filesystem::file_size(file, none);
    const DWORD error = WriteError(file);
    if (error == ERROR_SHARING_VIOLATION)
        return examination.Warn(
            fmt::format("Process {} writes {}; the log of this one goes to {}.", WriterOf(file), shown, ToUtf8(second)),
            "That is normal while another host has the agent loaded.");
    if (error != ERROR_SUCCESS && WriteError(second) != ERROR_SUCCESS)
        return examination.Fail(
            fmt::format("Neither {} nor {} can be written: {}", shown, ToUtf8(second), SystemMessage(error)),
            "Correct the folder in the registry, or the rights of this account there.");
    if (error != ERROR_SUCCESS)
        return examination.Warn(
            fmt::format("{} cannot be written: {} The log goes to {}.", shown, SystemMessage(error), ToUtf8(second)),
            "Correct the folder in the registry, or the rights of this account there.");
    if (size > LARGE)
        return examination.Warn(fmt::format("{} has {}.", shown, SizeText(size)),
                                "Set TRACE to 2 or 0 on a large fabric: the log takes most of the time there.");
    examination.Ok(fmt::format("{} can be written; it has {}.", shown, SizeText(size)));
}

} // namespace fcoectl
