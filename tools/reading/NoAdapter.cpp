#include "tools/reading/NoAdapter.h"

#include <optional>

#include <fmt/format.h>

#include "tools/reading/Registry.h"
#include "tools/reading/Text.h"
#include "tools/reading/What.h"

namespace reading {
namespace {

constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";
constexpr wchar_t FLAG[] = L"InstalledTOLV_FCOE";
constexpr char TOPOLOGY_ADVICE[] = "Mend the topology: simctl check tells all that is wrong with it.";
constexpr char CORE_ADVICE[] = "See that the suite's core agent and its services run, or restart the machine.";

// Why FCoE counts as not installed; nothing: it is installed.
std::optional<std::string> FlagProblem() {
    const RegistryText flag = ReadText(FEATURES_KEY, FLAG);
    if (!flag.Found())
        return "FCoE counts as not installed. " + flag.Problem();
    if (flag.text == L"1")
        return std::nullopt;
    return fmt::format("FCoE counts as not installed: the registry value \"{}\" under \"HKEY_LOCAL_MACHINE\\{}\" is "
                       "\"{}\" instead of \"1\".",
                       ToUtf8(flag.name), ToUtf8(flag.key), ToUtf8(flag.text));
}

Problem Hidden(std::string function, std::string text, std::string advice, std::string adapter = {}) {
    Problem problem;
    problem.adapter = std::move(adapter);
    problem.what = KeyOf(What::Adapter);
    problem.function = std::move(function);
    problem.text = std::move(text);
    problem.advice = std::move(advice);
    return problem;
}

Problem UnknownSupport(const std::string& adapter) {
    return Hidden("SupportsFcoe",
                  fmt::format("The core agent ended with an exception when it was asked whether {} supports FCoE; "
                              "nothing was read of it.",
                              adapter.empty() ? "an adapter" : "adapter " + adapter),
                  CORE_ADVICE, adapter);
}

std::string Plural(std::size_t count) {
    return count == 1 ? "1 adapter" : fmt::format("{} adapters", count);
}

NoAdapterReason ExplainFlag(const std::string& flag, const CoreAgentView& core) {
    if (core.withFcoe.empty())
        return {{}, flag};
    return {{Hidden(ToUtf8(FLAG),
                    fmt::format("{} The core agent knows {} that can do FCoE; nothing was read of them.", flag,
                                Plural(core.withFcoe.size())),
                    "Install FCoE, or set the value to the text 1.")},
            {}};
}

NoAdapterReason ExplainFailure(AdapterList list, const CoreAgentView& core) {
    if (!core.loaded)
        return {{}, "There is no core agent in this process, so the agent knows no adapter."};
    if (list == AdapterList::Threw || core.threw)
        return {{Hidden("EnumerateAdapters", "The core agent ended the list of its adapters with an exception.",
                        CORE_ADVICE)},
                {}};
    if (!core.topologyError.empty()) {
        Problem problem = Hidden("EnumerateAdapters",
                                 fmt::format("The simulated suite's topology is wrong: {}{}", core.topologyError,
                                             core.topologyError.ends_with('?') ? "" : "."),
                                 TOPOLOGY_ADVICE);
        problem.status = core.error;
        return {{std::move(problem)}, {}};
    }
    if (core.error != 0) {
        Problem problem =
            Hidden("EnumerateAdapters",
                   fmt::format("The core agent refused the list of its adapters (error {}).", core.error), CORE_ADVICE);
        problem.status = core.error;
        return {{std::move(problem)}, {}};
    }
    if (!core.adapters.empty() && list == AdapterList::Failed)
        return {{Hidden("EnumerateAdapters",
                        fmt::format("The core agent did not list its adapters when it was asked; it knows {}.",
                                    Plural(core.adapters.size())),
                        "Run the command again.")},
                {}};
    if (core.adapters.empty())
        return {{}, "The core agent knows no adapter."};
    if (core.withFcoe.empty() && core.supportThrew.empty())
        return {{},
                fmt::format("The core agent knows {}, {} FCoE.", Plural(core.adapters.size()),
                            core.adapters.size() == 1 ? "which does not support" : "none of which supports")};
    return {};
}

} // namespace

NoAdapterReason ExplainAdapterList(const AdapterListClues& clues, const CoreAgentView& core) {
    const AdapterList list = clues.list;
    NoAdapterReason reason;
    if (clues.nothing || (list != AdapterList::Untold && list != AdapterList::Read)) {
        const bool flagCounts = list == AdapterList::NotInstalled || list == AdapterList::Untold;
        const auto flag = flagCounts && core.loaded ? FlagProblem() : std::nullopt;
        reason = flag ? ExplainFlag(*flag, core) : ExplainFailure(list, core);
    }
    for (const std::string& adapter : core.supportThrew)
        reason.problems.push_back(UnknownSupport(adapter));
    if (clues.supportThrew && core.supportThrew.empty())
        reason.problems.push_back(UnknownSupport(clues.skipped));
    return reason;
}

} // namespace reading
