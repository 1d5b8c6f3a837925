// One line of the agent's diagnostic log, taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace agentlog {

enum class Step {
    Entry, // a traced operation begins
    Exit,  // and ends
    Message,
};

// What an operation's end tells; the number is 0 or 1 of a truth value, as it stands of the others.
enum class ResultKind {
    None,
    Boolean, // bReturn
    Number,  // nReturn
    Status,  // res.ulErrCode
    HResult, // HRESULT
};

// Texts are parts of the line that was parsed, in the code page of the system that wrote it.
struct LogLine {
    std::string_view module;
    std::uint32_t process = 0;
    std::uint32_t thread = 0;
    std::uint32_t time = 0;    // milliseconds of the day, local
    std::uint64_t counter = 0; // the performance counter; 0 in logs that have none
    std::int32_t tier = 0;     // how many operations are open, of all threads; 0 in logs that do not tell
    Step step = Step::Message;
    std::string_view operation; // that is entered or left
    ResultKind resultKind = ResultKind::None;
    std::string_view resultText; // "true", "5", "0X80004005"
    std::int64_t result = 0;
    std::string_view place; // of an error line, as "Common\Src\QelNetAgentPvt"; empty: it is none
    std::uint32_t placeLine = 0;
    std::string_view text; // what the line says; of an error line, behind the place

    bool IsError() const { return !place.empty(); }
};

// The line without its end. Nothing when it does not begin as a line of the log: it goes on with the message of the
// line before, or the file is another's. Takes no memory.
[[nodiscard]] std::optional<LogLine> ParseLine(std::string_view line);

// Where in the line another one begins, as when the first was cut and the file went on; npos: nowhere. parsed: what
// ParseLine made of the line.
[[nodiscard]] std::size_t FindTear(std::string_view line, const LogLine& parsed);

} // namespace agentlog
