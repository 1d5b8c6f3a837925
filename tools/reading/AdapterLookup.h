// Whether the agent knows an adapter: it takes any identifier, and of one that it does not know it reads nothing. The
// agent is a LoadedAgent or what reads as one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/reading/LoadedAgent.h"
#include "tools/reading/Text.h"

namespace reading {

struct Adapter {
    CQelString id;   // empty: all
    CQelString name; // in the suite; may be empty
};

// An identifier as Windows writes them, with braces and in upper case; empty when the text is none.
[[nodiscard]] std::wstring CanonicalIdentifier(std::wstring_view text);

// Whether the list has each adapter, if only as a record without a name; and whether each has its name.
[[nodiscard]] bool AllListed(const Reading<QEL_FCOE_HBA>& reading);
[[nodiscard]] bool AllRead(const Reading<QEL_FCOE_HBA>& reading);

// The adapter that one of the records names with the name that the core agent has for it.
template <class Record>
[[nodiscard]] std::optional<Adapter> NamedAmong(const std::vector<Record>& records, const CQelString& id) {
    for (const Record& record : records)
        if (record.strDeviceId == id && !record.strSecondId.empty())
            return Adapter{record.strDeviceId, record.strSecondId};
    return std::nullopt;
}

// The adapter of that identifier, when the agent answers for it with a name. Its counters are asked first, since they
// need neither DCB nor WMI.
template <class Agent> [[nodiscard]] std::optional<Adapter> AskForAdapter(Agent& agent, const CQelString& id) {
    if (auto adapter = NamedAmong(agent.template Read<QEL_FCOE_STATISTIC>(id).records, id))
        return adapter;
    return NamedAmong(agent.template Read<QEL_FCOE_HBA>(id).records, id);
}

// The adapter of that identifier, with or without braces, in any letter case. None: the agent knows none of it. While
// it cannot list all adapters, an identifier in braces that is not among them counts as known.
template <class Agent> [[nodiscard]] std::optional<Adapter> FindAdapter(Agent& agent, const std::wstring& identifier) {
    const std::wstring canonical = CanonicalIdentifier(identifier);
    CQelString id(canonical.empty() ? identifier.c_str() : canonical.c_str());
    if (!canonical.empty())
        if (auto adapter = AskForAdapter(agent, id))
            return adapter;
    const Reading<QEL_FCOE_HBA> reading = agent.template Read<QEL_FCOE_HBA>({});
    for (const QEL_FCOE_HBA& hba : reading.records)
        if (!hba.strDeviceId.empty() && EqualIgnoringCase(hba.strDeviceId, id))
            return Adapter{hba.strDeviceId, hba.strSecondId};
    if (AllRead(reading) || !identifier.starts_with(L'{'))
        return std::nullopt;
    return Adapter{std::move(id), {}};
}

} // namespace reading
