#include "tools/fcoectl/Explain.h"

#include <fmt/format.h>

#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Explanations.h"
#include "tools/fcoectl/FileVersion.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/schema/Types.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

Json NumberOrNull() {
    return schema::OrNull(schema::Integer());
}

} // namespace

SheetColumns CodeColumns(const Options&) {
    return {{"code", "CODE", true, Format::Code, 1, nullptr, NumberOrNull},
            {"kind", "KIND", false, Format::Plain, 2},
            {"name", "NAME", false, Format::Plain, 3},
            {"meaning", "MEANING", false, Format::Plain, 4},
            {"advice", "ADVICE"},
            {"exit_code", "EXIT CODE", true, Format::Plain, 0, nullptr, NumberOrNull}};
}

void ExplainCodes(Context& context) {
    const std::string& wanted = context.options.code;
    const auto explanations = wanted.empty() ? AllExplanations() : Explained(wanted);
    if (explanations.empty())
        throw Failure(
            Exit::Usage,
            fmt::format("'{}' is no code, status, link state or line of the log that this program knows.", wanted),
            {"'fcoectl explain' lists them all."}, {wanted});
    Sheet sheet{CodeColumns(context.options), {}};
    for (const Explanation& known : explanations)
        sheet.rows.push_back({known.code ? Json(*known.code) : Json(nullptr), known.kind, known.name, known.meaning,
                              known.advice, known.exitCode ? Json(*known.exitCode) : Json(nullptr)});
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
