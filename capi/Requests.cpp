#include "capi/Requests.h"

#include <type_traits>
#include <utility>

#include <fmt/format.h>

#include "tools/reading/AdapterLookup.h"
#include "tools/reading/AgentErrors.h"
#include "tools/reading/ListAnswer.h"
#include "tools/reading/Text.h"
#include "tools/reading/VendorLibrary.h"

namespace capi {
namespace {

using reading::Reading;

void AddSentence(std::string& text, const std::string& sentence) {
    if (sentence.empty())
        return;
    text += text.empty() ? "" : " ";
    text += sentence;
}

CQelString Known(SharedAgent& shared, const std::wstring& identifier) {
    const auto adapter = reading::FindAdapter(shared, identifier);
    if (!adapter)
        throw Ended(FCOE_UNKNOWN_ADAPTER,
                    fmt::format("The agent knows no adapter \"{}\". FCOE_HBAS without an adapter lists those that it "
                                "knows.",
                                reading::ToUtf8(identifier)));
    return adapter->id;
}

// Of an operation that asks one adapter.
CQelString One(SharedAgent& shared, const fcoe_char* adapter) {
    if (!adapter || !*adapter)
        throw Ended(FCOE_BAD_ARGUMENT, "The adapter is missing: name one by its device identifier.");
    return Known(shared, adapter);
}

// Most answers tell themselves that the adapter is known; only of others it is asked for.
template <class Record> Reading<Record> Read(SharedAgent& shared, const std::wstring& identifier) {
    if (identifier.empty())
        return shared.Read<Record>({});
    const CQelString id(reading::CanonicalIdentifier(identifier).c_str());
    if (id.empty())
        return shared.Read<Record>(Known(shared, identifier));
    Reading<Record> reading = shared.Read<Record>(id);
    if (reading::NamedAmong(reading.records, id))
        return reading;
    const CQelString known = Known(shared, identifier);
    return known == id ? reading : shared.Read<Record>(known);
}

// Problem by problem, a line each.
Outcome OutcomeOf(bool complete, const reading::Findings& findings) {
    reading::Report report;
    report.problems.emplace();
    report.Add(complete, findings);
    Outcome outcome{report.complete ? FCOE_OK : FCOE_INCOMPLETE, {}};
    for (const reading::Problem& problem : *report.problems)
        outcome.text += fmt::format("{}{} {}", outcome.text.empty() ? "" : "\n", problem.text, problem.advice);
    return outcome;
}

template <class Record> Answer Enumerate(SharedAgent& shared, const std::wstring& adapter, Form form) {
    Reading<Record> reading = Read<Record>(shared, adapter);
    LeaveOutUnread(reading);
    Answer answer;
    answer.outcome = OutcomeOf(reading.complete, reading.findings);
    if (form == Form::Json)
        answer.json = reading::ListText(reading);
    else
        answer.list = MakeList(std::move(reading.records));
    return answer;
}

// done: what the agent answered.
Change ChangeOf(const SharedAgent& shared, BOOL done, std::vector<QEL_ERROR_ENTRY> entries) {
    Change change;
    if (done)
        return change;
    change.outcome.status = FCOE_REFUSED;
    std::string& text = change.outcome.text;
    for (const QEL_ERROR_ENTRY& entry : entries) {
        const reading::AgentError* known = reading::FindAgentError(entry.ulCode);
        AddSentence(text, reading::SentenceOf(entry));
        AddSentence(text, known ? known->advice : "");
    }
    if (entries.empty()) {
        text = reading::NO_REASON;
        AddSentence(text, reading::NO_REASON_ADVICE);
    }
    AddSentence(text, shared.WhyNoLibrary());
    change.errors = MakeList(std::move(entries));
    return change;
}

} // namespace

Answer Enumerate(SharedAgent& shared, fcoe_kind kind, const fcoe_char* adapter, Form form) {
    const std::wstring identifier = adapter ? adapter : L"";
    switch (kind) {
    case FCOE_HBAS:
        return Enumerate<QEL_FCOE_HBA>(shared, identifier, form);
    case FCOE_FABRICS:
        return Enumerate<QEL_FCOE_FABRIC>(shared, identifier, form);
    case FCOE_PORTS:
        return Enumerate<QEL_FCOE_PORT>(shared, identifier, form);
    case FCOE_TARGETS:
        return Enumerate<QEL_FCOE_TARGET>(shared, identifier, form);
    case FCOE_LUNS:
        return Enumerate<QEL_FCOE_LUN>(shared, identifier, form);
    case FCOE_VLANS:
        return Enumerate<QEL_FCOE_VLAN>(shared, identifier, form);
    case FCOE_STATISTICS:
        return Enumerate<QEL_FCOE_STATISTIC>(shared, identifier, form);
    default:
        throw Ended(FCOE_BAD_ARGUMENT, fmt::format("The kind {} is unknown; there are 1 to 7.", kind));
    }
}

Change CreateVPort(SharedAgent& shared, const fcoe_char* adapter, const std::wstring& wwpn, std::uint32_t lockOwner) {
    CQelString id = One(shared, adapter);
    CQelString name(wwpn.c_str());
    ULONG owner = lockOwner;
    std::vector<QEL_ERROR_ENTRY> entries;
    const BOOL done = shared.Ask([&](auto& agent) { return agent.CreateVPort(id, name, entries, owner); });
    Change change = ChangeOf(shared, done, std::move(entries));
    change.wwpn = std::move(name);
    return change;
}

Change DeleteVPort(SharedAgent& shared, const fcoe_char* adapter, const std::wstring& wwpn, std::uint32_t lockOwner) {
    CQelString id = One(shared, adapter);
    CQelString name(wwpn.c_str());
    std::vector<QEL_ERROR_ENTRY> entries;
    const BOOL done = shared.Ask([&](auto& agent) {
        return agent.DeleteVPort(id, name, entries, {ULONG{lockOwner}, 0, 0});
    });
    return ChangeOf(shared, done, std::move(entries));
}

Change GenerateWwpn(SharedAgent& shared, const fcoe_char* adapter) {
    CQelString id = One(shared, adapter);
    Change change;
    std::vector<QEL_ERROR_ENTRY> unused; // never filled by this operation
    if (shared.Ask([&](auto& agent) { return agent.GenerateVPortWWPN(id, change.wwpn, unused, 0); }))
        return change;
    change.outcome.status = FCOE_REFUSED;
    change.outcome.text = reading::NOT_GENERATED;
    AddSentence(change.outcome.text, "Check that the adapter's port is online, or choose the name yourself.");
    AddSentence(change.outcome.text, shared.WhyNoLibrary());
    return change;
}

Outcome RefreshTargets(SharedAgent& shared, const fcoe_char* adapter) {
    CQelString id = One(shared, adapter);
    const BOOL done = shared.Ask([&](auto& agent) { return agent.RefreshTargets(id, 0); });
    std::string text = done ? reading::WhyNothingRescanned() : reading::NOT_RESCANNED;
    if (text.empty())
        return {};
    AddSentence(text, done && reading::IsLibraryLoaded() ? reading::REINSTALL_ADVICE : "");
    AddSentence(text, done ? "" : "The agent's log shows the library's status.");
    AddSentence(text, shared.WhyNoLibrary());
    return {FCOE_REFUSED, std::move(text)};
}

} // namespace capi
