#include "tools/fcoectl/Explain.h"

#include <charconv>

#include <fmt/format.h>

#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t AGENT_CODE_BASE = 0x37000000;

// One code in the words of its table.
struct Explained {
    std::uint32_t code;
    std::string shown;
    const char* kind;
    const ExitCode& exit;
    std::string meaning;
    const char* advice;
};

std::vector<Explained> AllCodes() {
    std::vector<Explained> codes;
    for (const AgentError& error : AgentErrors())
        codes.push_back({error.code, fmt::format("0x{:08X}", error.code), "agent_error", Describe(error.exit),
                         Insert(error.sentence, "..."), error.advice});
    for (const ExitCode& exit : ExitCodes())
        codes.push_back({static_cast<std::uint32_t>(exit.value), fmt::format("{}", static_cast<int>(exit.value)),
                         "exit_code", exit, exit.meaning, exit.advice});
    return codes;
}

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

// The codes asked for: all of them, or the one whose number, or whose last three digits, were given.
std::vector<Explained> Select(const std::string& wanted) {
    std::vector<Explained> codes = AllCodes();
    if (wanted.empty())
        return codes;
    if (const auto code = ParseCode(wanted))
        for (const Explained& candidate : codes)
            if (candidate.code == *code || candidate.code == AGENT_CODE_BASE + *code)
                return {candidate};
    throw Failure(Exit::Usage, fmt::format("'{}' is no code of the agent or of this program.", wanted),
                  {"'fcoectl explain' lists them all."}, {wanted});
}

std::optional<std::string> FileVersion(const std::wstring& file) {
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), nullptr);
    std::string block(size, '\0');
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (!size || !GetFileVersionInfoW(file.c_str(), 0, size, block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) || length < sizeof *info)
        return std::nullopt;
    return fmt::format("{}.{}.{}.{}", HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                       HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS));
}

} // namespace

SheetColumns CodeColumns(const Options&) {
    return {{"code", "CODE", true, Format::Code, 1},
            {"kind", "KIND"},
            {"name", "NAME", false, Format::Plain, 2},
            {"meaning", "MEANING", false, Format::Plain, 3},
            {"advice", "ADVICE"},
            {"exit_code", "EXIT CODE", true}};
}

void ExplainCodes(Context& context) {
    Sheet sheet{CodeColumns(context.options), {}};
    for (const Explained& code : Select(context.options.code))
        sheet.rows.push_back(
            {code.code, code.kind, code.exit.name, code.meaning, code.advice, static_cast<int>(code.exit.value)});
    ShowSheet(context, "codes", std::move(sheet));
}

void ShowVersion(Context& context) {
    context.report.body["fcoectl_version"] = FCOECTL_VERSION;
    context.report.body["agent_file"] = nullptr;
    context.report.body["agent_version"] = nullptr;
    std::string agent = "not installed";
    try {
        const std::wstring file = AgentFile(FromUtf8(context.options.agentFile));
        const auto version = FileVersion(file);
        agent = fmt::format("{}  {}", version.value_or("unknown version"), ToUtf8(file));
        context.report.body["agent_file"] = ToUtf8(file);
        if (version)
            context.report.body["agent_version"] = *version;
    } catch (const Failure& failure) { // a missing agent is an answer here
        context.report.notes.emplace_back(failure.what());
    }
    if (!context.options.json)
        context.output.Write(fmt::format("fcoectl  {}\nagent    {}\n", FCOECTL_VERSION, Printable(agent)));
}

} // namespace fcoectl
