#include "tools/fcoectl/Agent.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/reading/LogHint.h"
#include "tools/reading/VendorLibrary.h"

namespace fcoectl {
namespace {

std::vector<ErrorDetail> Details(const std::vector<QEL_ERROR_ENTRY>& entries) {
    std::vector<ErrorDetail> details;
    for (const QEL_ERROR_ENTRY& entry : entries) {
        ErrorDetail detail;
        detail.code = entry.ulCode;
        for (const CQelString& argument : entry.vecArguments)
            detail.arguments.push_back(ToUtf8(argument));
        detail.text = SentenceOf(entry);
        detail.source = ToUtf8(entry.strSource);
        details.push_back(std::move(detail));
    }
    return details;
}

Failure Refusal(const std::vector<QEL_ERROR_ENTRY>& entries) {
    if (entries.empty())
        return Failure(Exit::Refused, NO_REASON, {Describe(Exit::Refused).advice, LogHint()});
    const AgentError* known = FindAgentError(entries.front().ulCode);
    const Exit exit = ExitOf(entries.front().ulCode);
    return Failure(exit, Details(entries), {known ? known->advice : Describe(exit).advice, LogHint()});
}

// The library's function without which a change of virtual ports ends so.
struct FunctionBehind {
    Exit refusal;
    const char* function;
};
constexpr FunctionBehind FUNCTIONS_BEHIND[] = {{Exit::NotGenerated, "ORVAN_GeneratePortWWN"},
                                               {Exit::LibraryRefused, "ORVAN_CreateVPort"},
                                               {Exit::PortNotFound, "ORVAN_RemoveVPort"}};

// The same; where the library lacks the function behind it, with that instead of the usual advice.
Failure OfFunction(const Failure& failure) {
    const auto* behind = std::ranges::find(FUNCTIONS_BEHIND, failure.Code(), &FunctionBehind::refusal);
    if (behind == std::end(FUNCTIONS_BEHIND) || !reading::IsLibraryLoaded() ||
        reading::LibraryExports(behind->function))
        return failure;
    return {failure.Code(),
            failure.Details(),
            {fmt::format("The HBA library has no {}.", behind->function), reading::REINSTALL_ADVICE, LogHint()}};
}

Failure Missing(const NoAgent& reason, bool isRegistered) {
    switch (reason.Reason()) {
    case NoAgent::Why::NotInstalled:
        return Failure(Exit::AgentMissing, reason.what(),
                       {"Install the agent. --agent FILE does not help: the agent starts only from the file that "
                        "its value names."});
    case NoAgent::Why::NotLoaded:
        return Failure(
            Exit::AgentMissing, reason.what(),
            {isRegistered ? "The registry names this file; reinstall the agent." : "Check the path after --agent."});
    case NoAgent::Why::NotTheAgent:
        return Failure(Exit::AgentMissing, reason.what());
    default:
        return Failure(Exit::AgentRefused, reason.what(), {LogHint()});
    }
}

} // namespace

std::wstring AgentFile(const std::wstring& file) {
    try {
        return reading::AgentFile(file);
    } catch (const NoAgent& reason) {
        throw Missing(reason, true);
    }
}

Agent::Agent(const std::wstring& file, const std::wstring& libraryFolder, reading::Mask* mask)
    : Agent(AgentFile(file), libraryFolder, mask, file.empty()) {}

Agent::Agent(const std::wstring& path, const std::wstring& libraryFolder, reading::Mask* mask, bool isRegistered)
    : m_mask(mask), m_search(path, libraryFolder) {
    Call([&] {
        try {
            m_agent.emplace(path, m_search.Folders());
        } catch (const NoAgent& reason) {
            throw Missing(reason, isRegistered);
        }
    });
}

void Agent::CreateVPort(const CQelString& adapter, CQelString& wwpn) {
    CQelString copy(adapter);
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = GetCurrentProcessId();
    BOOL done = FALSE;
    Call([&] { done = m_agent->Interface().CreateVPort(copy, wwpn, errors, owner); });
    if (!done)
        throw Explained(OfFunction(Refusal(errors)));
}

void Agent::DeleteVPort(const CQelString& adapter, const CQelString& wwpn) {
    CQelString copy(adapter);
    CQelString name(wwpn);
    std::vector<QEL_ERROR_ENTRY> errors;
    BOOL done = FALSE;
    Call([&] {
        done = m_agent->Interface().DeleteVPort(copy, name, errors, QEL_LOCK_REQUEST{GetCurrentProcessId(), 0, 0});
    });
    if (!done)
        throw Explained(OfFunction(Refusal(errors)));
}

CQelString Agent::GenerateWWPN(const CQelString& adapter) {
    CQelString copy(adapter);
    CQelString wwpn;
    std::vector<QEL_ERROR_ENTRY> unused; // never filled by this operation
    BOOL done = FALSE;
    Call([&] { done = m_agent->Interface().GenerateVPortWWPN(copy, wwpn, unused, 0); });
    if (!done)
        throw Explained(OfFunction(Failure(Exit::NotGenerated, Describe(Exit::NotGenerated).meaning,
                                           {Describe(Exit::NotGenerated).advice, LogHint()})));
    return wwpn;
}

void Agent::RefreshTargets(const CQelString& adapter) {
    CQelString copy(adapter);
    BOOL done = FALSE;
    Call([&] { done = m_agent->Interface().RefreshTargets(copy, 0); });
    if (!done)
        throw Explained(
            Failure(Exit::LibraryRefused, reading::NOT_RESCANNED, {Describe(Exit::LibraryRefused).advice, LogHint()}));
    const std::string nothing = reading::WhyNothingRescanned();
    if (!nothing.empty())
        throw Explained(Failure(Exit::LibraryRefused, nothing,
                                reading::IsLibraryLoaded() ? std::vector<std::string>{reading::REINSTALL_ADVICE}
                                                           : std::vector<std::string>()));
}

Failure Agent::Explained(const Failure& failure) const {
    if (reading::IsLibraryLoaded())
        return failure;
    return {failure.Code(),
            failure.Details(),
            {reading::WhyNotLoaded(reading::LibraryFolders(m_search.Folders())), reading::LIBRARY_ADVICE, LogHint()}};
}

} // namespace fcoectl
