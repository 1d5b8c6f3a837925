#include "tools/fcoectl/Adapters.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

Failure Unknown(const std::string& problem, const std::vector<QEL_FCOE_HBA>& hbas) {
    std::vector<std::string> hints;
    std::vector<std::string> ids;
    for (const QEL_FCOE_HBA& hba : hbas) {
        if (hba.strDeviceId.empty())
            continue;
        ids.push_back(ToUtf8(hba.strDeviceId));
        hints.push_back(fmt::format("--adapter {}  {}", ids.back(), ToUtf8(hba.strSecondId)));
    }
    if (hints.empty())
        hints.emplace_back(NO_ADAPTER);
    return Failure(Exit::AdapterUnknown, problem, std::move(hints), std::move(ids));
}

} // namespace

std::string Adapter::Label() const {
    return Printable(name.empty() ? ToUtf8(id) : fmt::format("{} ({})", ToUtf8(name), ToUtf8(id)));
}

Adapter ChooseAdapter(Agent& agent, const std::string& wanted, Need need) {
    if (wanted.empty() && need == Need::Any)
        return {};
    const Reading<QEL_FCOE_HBA> reading = agent.Read<QEL_FCOE_HBA>({});
    const auto& hbas = reading.records;
    const bool all =
        reading.complete && std::ranges::none_of(hbas, [](const auto& hba) { return hba.strDeviceId.empty(); });
    if (wanted.empty()) {
        if (all && hbas.size() == 1)
            return {hbas.front().strDeviceId, hbas.front().strSecondId};
        throw Unknown(hbas.empty() ? "There is no adapter." : "There are several adapters; name one with --adapter.",
                      hbas);
    }
    const std::wstring id = FromUtf8(wanted);
    const auto found =
        std::ranges::find_if(hbas, [&](const auto& hba) { return EqualIgnoringCase(hba.strDeviceId, id); });
    if (found != hbas.end())
        return {found->strDeviceId, found->strSecondId};
    if (all)
        throw Unknown(fmt::format("The adapter '{}' is unknown.", wanted), hbas);
    Adapter adapter;
    adapter.id = id;
    return adapter;
}

} // namespace fcoectl
