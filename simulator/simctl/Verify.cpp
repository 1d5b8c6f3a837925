// simctl verify
#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include <windows.h>

#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"
#include "simulator/verify/Child.h"

namespace simctl {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using verify::Neighbour;

// Deviations of one kind, of whatever adapters.
struct Group {
    verify::Deviation first;
    std::vector<std::string> adapters;
};

struct Verified {
    Neighbour neighbour;
    std::string file;
    verify::Verdict verdict;

    bool IsGood() const { return verdict.error.empty() && verdict.deviations.empty(); }
    std::vector<Group> Groups() const {
        std::vector<Group> groups;
        for (const auto& deviation : verdict.deviations) {
            auto group = std::ranges::find_if(groups, [&](const Group& one) {
                return one.first.code == deviation.code && one.first.function == deviation.function;
            });
            if (group == groups.end())
                group = groups.insert(group, {deviation, {}});
            if (!deviation.adapter.empty())
                group->adapters.push_back(deviation.adapter);
        }
        return groups;
    }
    unsigned Calls() const {
        unsigned calls = 0;
        for (const auto& [function, count] : verdict.outcome.calls)
            calls += count;
        return calls;
    }
};

std::vector<std::string> SimulatedAdapters() {
    std::vector<std::string> identifiers;
    const CheckedFile inUse = Check(FindInUse());
    for (const auto& adapter : inUse.Topology().adapters) {
        if (adapter.supportsFcoe)
            identifiers.push_back(adapter.identifier);
    }
    return identifiers;
}

std::wstring Quoted(const std::wstring& text) {
    return L'"' + text + L'"';
}

// simctl.exe, which lies beside whatever program this is.
std::wstring ThisProgram() {
    std::wstring path(MAX_PATH, L'\0');
    DWORD size = 0;
    while ((size = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) == path.size())
        path.resize(2 * path.size());
    path.resize(size);
    return fs::path(path).replace_filename(L"simctl.exe").wstring();
}

std::wstring Command(Neighbour neighbour, const std::wstring& file, const VerifyOptions& options,
                     const std::vector<std::string>& adapters) {
    std::wstring command = Quoted(ThisProgram()) + L" verify " +
                           (neighbour == Neighbour::Library ? L"--library " : L"--core-agent ") + Quoted(file) +
                           L" --slow " + std::to_wstring(options.slowMs);
    for (const auto& adapter : adapters)
        command += L" --adapter " + Quoted(sim::Wide(adapter));
    return command;
}

Verified VerifyFile(Neighbour neighbour, const std::string& file, const VerifyOptions& options,
                    const std::vector<std::string>& adapters) {
    std::error_code ignored;
    const std::wstring path = fs::absolute(sim::Wide(file), ignored).wstring();
    const auto limit = std::chrono::milliseconds(static_cast<long long>(options.limit * 1000));
    return {neighbour, sim::Utf8(path), verify::AskInProcesses(Command(neighbour, path, options, adapters), limit)};
}

ordered_json Document(const Verified& verified) {
    const auto& verdict = verified.verdict;
    ordered_json document{{"neighbour", verify::CodeOf(verified.neighbour)},
                          {"file", verified.file},
                          {"good", verified.IsGood()},
                          {"adapters", verdict.outcome.adapters},
                          {"calls", verdict.outcome.calls}};
    document["deviations"] = ordered_json::array();
    for (const auto& group : verified.Groups()) {
        const auto& [code, function, adapter, found] = group.first;
        document["deviations"].push_back(
            {{"code", code},
             {"function", function},
             {"adapters", group.adapters},
             {"found", found},
             {"consequence", verify::FindRule(verified.neighbour, code, function).consequence}});
    }
    if (!verdict.error.empty())
        document["error"] = verdict.error;
    return document;
}

std::string Line(Neighbour neighbour, const Group& group) {
    std::string line = group.first.code;
    if (!group.first.function.empty())
        line += ' ' + group.first.function;
    if (!group.adapters.empty())
        line += " of " + group.adapters.front();
    if (group.adapters.size() > 1)
        line += fmt::format(" and {} more", group.adapters.size() - 1);
    return fmt::format("{}: {}. {}\n", line, group.first.found,
                       verify::FindRule(neighbour, group.first.code, group.first.function).consequence);
}

void Print(Console& console, const Verified& verified) {
    const auto& verdict = verified.verdict;
    const auto groups = verified.Groups();
    for (const auto& group : groups)
        console.Out(Line(verified.neighbour, group));
    if (!verdict.error.empty()) {
        console.Err(fmt::format("simctl: {}: {}\n", verified.file, verdict.error));
        return;
    }
    console.Out(fmt::format("{}: {}: {} calls of {} functions, {} adapters\n", verified.file,
                            groups.empty()       ? "good"
                            : groups.size() == 1 ? "1 deviation"
                                                 : fmt::format("{} deviations", groups.size()),
                            verified.Calls(), verdict.outcome.calls.size(), verdict.outcome.adapters.size()));
}

int ReportToStarter(const VerifyOptions& options) {
    verify::Request request;
    request.adapters = options.adapters;
    request.skipped = {options.skipped.begin(), options.skipped.end()};
    request.slowMs = options.slowMs;
    const bool library = !options.library.empty();
    request.file = sim::Wide(library ? options.library : options.coreAgent);
    if (library && request.adapters.empty())
        request.simulated = SimulatedAdapters();
    verify::ReportTo(reinterpret_cast<HANDLE>(options.reportTo), library ? Neighbour::Library : Neighbour::CoreAgent,
                     request);
    return GOOD;
}

} // namespace

int Verify(Console& console, const VerifyOptions& options) {
    if (options.reportTo != 0)
        return ReportToStarter(options);
    if (options.rules) {
        console.Out(verify::RuleTable(Neighbour::Library) + "\n" + verify::RuleTable(Neighbour::CoreAgent));
        return GOOD;
    }
    std::vector<Verified> all;
    std::vector<std::string> adapters = options.adapters;
    if (!options.coreAgent.empty()) {
        all.push_back(VerifyFile(Neighbour::CoreAgent, options.coreAgent, options, {}));
        if (adapters.empty())
            adapters = all.back().verdict.outcome.adapters;
    }
    if (!options.library.empty())
        all.push_back(VerifyFile(Neighbour::Library, options.library, options, adapters));
    const bool good = std::ranges::all_of(all, &Verified::IsGood);
    if (options.json) {
        auto documents = ordered_json::array();
        for (const auto& verified : all)
            documents.push_back(Document(verified));
        console.OutJson({{"schema", "simctl/verify"}, {"version", 1}, {"good", good}, {"neighbours", documents}});
    } else {
        for (const auto& verified : all)
            Print(console, verified);
    }
    return good ? GOOD : WRONG;
}

} // namespace simctl
