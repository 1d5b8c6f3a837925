#include "tools/fcoectl/Explanations.h"

#include <charconv>

#include <fmt/format.h>

#include "tools/fcoectl/Codes.h"
#include "tools/fcoectl/Text.h"
#include "tools/log/LibraryStatus.h"
#include "tools/log/LogLine.h"
#include "tools/log/LogMessages.h"
#include "tools/reading/LinkStatus.h"

namespace fcoectl {
namespace {

constexpr std::uint32_t AGENT_CODE_BASE = 0x37000000;
constexpr char LINK_STATE[] = "link_state";
constexpr char UNRECOGNIZED_LINK[] = "unrecognized";
constexpr std::uint32_t STATUS_LIMIT = 256; // the API's statuses are below

// Decimal, or hexadecimal after 0x; the whole text.
std::optional<std::uint32_t> ParseCode(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return code;
}

bool IsNamed(const Explanation& explanation, const std::string& wanted) {
    return EqualIgnoringCase(FromUtf8(explanation.name), FromUtf8(wanted));
}

// Lines lie in files of the system's code page; those that this program is given are UTF-8.
std::optional<Explanation> OfLogLine(const std::string& wanted) {
    const auto line = agentlog::ParseLine(wanted);
    if (line && line->step != agentlog::Step::Message)
        return Explanation{std::nullopt,
                           "log_line",
                           std::string(line->operation),
                           line->step == agentlog::Step::Entry
                               ? "The operation begins."
                               : fmt::format("The operation ended{}.",
                                             line->resultText.empty() ? "" : fmt::format(" with {}", line->resultText)),
                           "",
                           std::nullopt};
    const auto found = agentlog::FindMessage(line ? line->text : std::string_view(wanted));
    if (!found)
        return std::nullopt;
    const agentlog::LogMessage& message = *found->message;
    Explanation explanation{found->Number(), "log_line",     agentlog::NameOf(message.neighbour),
                            message.meaning, message.advice, std::nullopt};
    if (message.function && *message.function)
        explanation.name += fmt::format("{}{}", explanation.name.empty() ? "" : " ", message.function);
    if (message.argument == agentlog::Argument::LibraryStatus && explanation.code)
        explanation.meaning += fmt::format(" It answered: {}.", agentlog::LibraryStatusText(*explanation.code));
    return explanation;
}

} // namespace

std::vector<Explanation> AllExplanations() {
    std::vector<Explanation> all;
    for (const AgentError& error : AgentErrors())
        all.push_back({error.code, "agent_error", Describe(ExitOf(error.code)).name, Insert(error.sentence, "..."),
                       error.advice, static_cast<int>(ExitOf(error.code))});
    for (const ExitCode& exit : ExitCodes())
        all.push_back({static_cast<std::uint32_t>(exit.value), "exit_code", exit.name, exit.meaning, exit.advice,
                       static_cast<int>(exit.value)});
    for (std::uint32_t value = 0; value < STATUS_LIMIT; ++value)
        if (const auto* status = agentlog::FindLibraryStatus(value))
            all.push_back({value, "library_status", status->name,
                           fmt::format("The HBA library answered: {}.", status->meaning), "", std::nullopt});
    for (const LinkStatus& link : LinkStatuses())
        all.push_back({std::nullopt, LINK_STATE, link.state, link.meaning, "", std::nullopt});
    return all;
}

std::vector<Explanation> Explained(const std::string& wanted) {
    const auto code = ParseCode(wanted);
    CQelString status;
    status = FromUtf8(wanted);
    const LinkStatus link = ExplainLinkStatus(status);
    const bool isStatus = !wanted.empty() && link.state != std::string_view(UNRECOGNIZED_LINK);
    std::vector<Explanation> found;
    for (Explanation& candidate : AllExplanations()) {
        const bool isCode =
            code && candidate.code && (*candidate.code == *code || *candidate.code == AGENT_CODE_BASE + *code);
        const bool isLink = isStatus && candidate.kind == std::string_view(LINK_STATE) && candidate.name == link.state;
        if (isCode || isLink || IsNamed(candidate, wanted))
            found.push_back(std::move(candidate));
    }
    if (found.empty())
        if (auto line = OfLogLine(wanted))
            found.push_back(std::move(*line));
    return found;
}

} // namespace fcoectl
