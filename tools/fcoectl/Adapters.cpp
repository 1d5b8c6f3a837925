#include "tools/fcoectl/Adapters.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/Wwn.h"

namespace fcoectl {
namespace {

using Hbas = std::vector<QEL_FCOE_HBA>;

// How each adapter that can be named is named: by its number, or by its identifier, in quotes since braces are a script
// to PowerShell. meant: those that can have been meant; none: all.
Failure Unclear(const std::string& problem, const Reading<QEL_FCOE_HBA>& reading, const Hbas& meant = {}) {
    const Hbas& hbas = reading.records;
    std::vector<std::string> hints;
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < hbas.size(); ++i) {
        const auto isSame = [&](const QEL_FCOE_HBA& hba) { return hba.strDeviceId == hbas[i].strDeviceId; };
        if (hbas[i].strDeviceId.empty() || (!meant.empty() && std::ranges::none_of(meant, isSame)))
            continue;
        ids.push_back(ToUtf8(hbas[i].strDeviceId));
        hints.push_back(
            fmt::format("--adapter {} or --adapter \"{}\"  {}", i + 1, ids.back(), ToUtf8(hbas[i].strSecondId)));
    }
    if (hints.empty() && !reading.findings.whyNone.empty())
        hints.push_back(reading.findings.whyNone);
    for (const reading::Problem& lacking : reading.findings.problems)
        hints.push_back(lacking.text);
    return Failure(Exit::AdapterUnknown, problem, std::move(hints), std::move(ids));
}

std::wstring Folded(std::wstring_view text) {
    std::wstring folded(text);
    CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

// The adapters that the text names wholly.
Hbas NamedBy(const std::string& wanted, const Reading<QEL_FCOE_HBA>& reading) {
    const std::wstring text = FromUtf8(wanted);
    const std::wstring id = CanonicalIdentifier(text);
    const auto wwn = CanonicalWwn(wanted);
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), number);
    // A list that lacks adapters tells no numbers.
    const bool isNumber = error == std::errc() && end == wanted.data() + wanted.size() && AllListed(reading);
    Hbas found;
    for (std::size_t i = 0; i < reading.records.size(); ++i) {
        const QEL_FCOE_HBA& hba = reading.records[i];
        if (hba.strDeviceId.empty())
            continue;
        if (EqualIgnoringCase(hba.strDeviceId, text) || (!id.empty() && EqualIgnoringCase(hba.strDeviceId, id)) ||
            EqualIgnoringCase(hba.strSecondId, text) || (wwn && CanonicalWwn(ToUtf8(hba.strPortWWN)) == wwn) ||
            (isNumber && number == i + 1))
            found.push_back(hba);
    }
    return found;
}

Hbas NamedInPart(const std::string& wanted, const Hbas& hbas) {
    const std::wstring part = Folded(FromUtf8(wanted));
    Hbas found;
    std::ranges::copy_if(hbas, std::back_inserter(found), [&](const QEL_FCOE_HBA& hba) {
        return Folded(hba.strSecondId).find(part) != std::wstring::npos;
    });
    return found;
}

} // namespace

std::string Adapter::Label() const {
    return Printable(name.empty() ? ToUtf8(id) : fmt::format("{} ({})", ToUtf8(name), ToUtf8(id)));
}

Adapter ChooseAdapter(Agent& agent, const std::optional<std::string>& wanted, Need need) {
    if (!wanted && need == Need::Any)
        return {};
    CQelString id;
    if (wanted) {
        id = CanonicalIdentifier(FromUtf8(*wanted));
        if (!id.empty())
            if (const auto adapter = reading::AskForAdapter(agent, id))
                return {*adapter};
    }
    const Reading<QEL_FCOE_HBA> reading = agent.Read<QEL_FCOE_HBA>({});
    const Hbas& hbas = reading.records;
    const bool all = AllRead(reading);
    if (!wanted) {
        if (all && hbas.size() == 1)
            return {hbas.front().strDeviceId, hbas.front().strSecondId};
        throw Unclear(hbas.empty()       ? "There is no adapter."
                      : hbas.size() == 1 ? "There may be several adapters, for not every one could be read; name one "
                                           "with --adapter."
                                         : "There are several adapters; name one with --adapter.",
                      reading);
    }
    Hbas found = NamedBy(*wanted, reading);
    // While adapters may be hidden, a part of a name may be theirs, too.
    if (found.empty() && all)
        found = NamedInPart(*wanted, hbas);
    if (found.size() == 1)
        return {found.front().strDeviceId, found.front().strSecondId};
    if (found.size() > 1)
        throw Unclear(fmt::format("'{}' names {} adapters.", *wanted, found.size()), reading, found);
    if (all || !wanted->starts_with('{'))
        throw Unclear(
            fmt::format("The adapter '{}' is unknown{}.", *wanted, all ? "" : ", and not every adapter could be read"),
            reading);
    Adapter adapter;
    adapter.id = id.empty() ? FromUtf8(*wanted) : id;
    return adapter;
}

Adapter AdapterOfPort(Agent& agent, const std::string& wwpn) {
    const Reading<QEL_FCOE_HBA> reading = agent.Read<QEL_FCOE_HBA>({});
    const bool all = AllRead(reading);
    if (all && reading.records.size() == 1)
        return {reading.records.front().strDeviceId, reading.records.front().strSecondId};
    const Reading<QEL_FCOE_PORT> ports = agent.Read<QEL_FCOE_PORT>({});
    Hbas found;
    for (const QEL_FCOE_HBA& hba : reading.records)
        if (std::ranges::any_of(ports.records, [&](const QEL_FCOE_PORT& port) {
                return port.strDeviceId == hba.strDeviceId && CanonicalWwn(ToUtf8(port.strPortWWN)) == wwpn;
            }))
            found.push_back(hba);
    if (found.size() == 1)
        return {found.front().strDeviceId, found.front().strSecondId};
    if (found.size() > 1)
        throw Unclear(fmt::format("{} adapters have a port '{}'; name one with --adapter.", found.size(), wwpn),
                      reading, found);
    if (reading.records.empty() || !all || !ports.complete)
        throw Unclear(
            reading.records.empty()
                ? "There is no adapter."
                : fmt::format("No adapter that could be read has a port '{}'; name one with --adapter.", wwpn),
            reading);
    throw Failure(Exit::PortNotFound, fmt::format("No adapter has a virtual port '{}'.", wwpn),
                  {Describe(Exit::PortNotFound).advice}, {wwpn});
}

Reading<QEL_FCOE_HBA> AllAdapters(Agent& agent) {
    Reading<QEL_FCOE_HBA> reading = agent.Read<QEL_FCOE_HBA>({}, reading::Answer::Adapters);
    if (reading.records.empty())
        throw Unclear("There is no adapter.", reading);
    return reading;
}

} // namespace fcoectl
