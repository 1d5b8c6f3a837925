#include "tools/fcoectl/ChangeCommands.h"

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/TimeLimit.h"
#include "tools/fcoectl/Wwn.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr ULONG TYPE_PHYSICAL = 0;
constexpr ULONG TYPE_FIRST_VIRTUAL = 2;

constexpr std::uint32_t INVALID_WWPN = 0x370000CB;
constexpr std::uint32_t WWPN_IN_USE = 0x370000CD;
constexpr std::uint32_t PORT_NOT_FOUND = 0x370000CF;
constexpr std::uint32_t PHYSICAL_PORT = 0x370000D6;

CQelString Wide(const std::string& text) {
    CQelString wide;
    wide = FromUtf8(text);
    return wide;
}

// The members of the document that all changes have, and the line for people. done: "Deleted virtual port ..."; toDo:
// "delete virtual port ...". wwpn: empty when the change concerns none.
void ShowDone(AgentContext& context, const std::string& done, const std::string& toDo, const std::string& wwpn) {
    const bool dry = context.options.dryRun;
    context.report.body["adapter"] = ToUtf8(context.adapter.id);
    if (!wwpn.empty())
        context.report.body["port_wwn"] = wwpn;
    if (dry)
        context.report.body["dry_run"] = true;
    if (context.options.json)
        return;
    const std::string what = dry ? "Would " + toDo : done;
    context.output.Write(fmt::format("{} on {}{}\n", what, context.adapter.Label(), dry ? "; nothing was done" : ""));
}

void ShowRescan(AgentContext& context) {
    ShowDone(context, "Rescanned the targets", "rescan the targets", {});
}

// The refusal that the agent would give for this code.
Failure Refusal(std::uint32_t code, const std::string& wwpn) {
    const AgentError& error = *FindAgentError(code);
    return {ExitOf(code), Insert(error.sentence, wwpn), {error.advice}, {wwpn}};
}

std::vector<QEL_FCOE_PORT> PortsNamed(AgentContext& context) {
    Reading<QEL_FCOE_PORT> reading = context.agent.Read<QEL_FCOE_PORT>(context.adapter.id);
    context.report.Add(reading.complete, reading.findings);
    std::erase_if(reading.records, [&](const QEL_FCOE_PORT& port) {
        return CanonicalWwn(ToUtf8(port.strPortWWN)) != context.options.wwpn;
    });
    return std::move(reading.records);
}

// What can be said against the new name without asking for the port.
void CheckNewPort(AgentContext& context) {
    const std::string& wwpn = context.options.wwpn;
    if (EqualIgnoringCase(FromUtf8(wwpn), L"auto"))
        return;
    if (!CanonicalWwn(wwpn))
        throw Refusal(INVALID_WWPN, wwpn);
    if (!PortsNamed(context).empty())
        throw Refusal(WWPN_IN_USE, wwpn);
}

// As the agent tells a port that it cannot delete from one that is not there: by the first one of the name.
void CheckOldPort(AgentContext& context) {
    const std::string& wwpn = context.options.wwpn;
    if (!CanonicalWwn(wwpn))
        throw Refusal(INVALID_WWPN, wwpn);
    const auto ports = PortsNamed(context);
    if (!ports.empty() && ports.front().ulPortType == TYPE_PHYSICAL)
        throw Refusal(PHYSICAL_PORT, wwpn);
    if (ports.empty() || ports.front().ulPortType < TYPE_FIRST_VIRTUAL)
        throw Refusal(PORT_NOT_FOUND, wwpn);
}

// Every adapter is asked, whatever the others answer.
void RescanAll(AgentContext& context) {
    const Reading<QEL_FCOE_HBA> reading = AllAdapters(context.agent);
    context.report.Add(reading.complete, reading.findings);
    Json rescanned = Json::array();
    std::vector<ErrorDetail> refusals;
    std::vector<std::string> hints;
    for (const QEL_FCOE_HBA& hba : reading.records) {
        const Adapter adapter{hba.strDeviceId, hba.strSecondId};
        if (adapter.id.empty()) // a problem tells of it
            continue;
        context.limit.Restart();
        try {
            if (!context.options.dryRun)
                context.agent.RefreshTargets(adapter.id);
        } catch (const Failure& failure) {
            if (failure.Code() != Exit::LibraryRefused)
                throw;
            refusals.push_back(failure.Details().front());
            refusals.back().source = ToUtf8(adapter.name);
            refusals.back().arguments = {ToUtf8(adapter.id)};
            hints = failure.Hints();
            continue;
        }
        rescanned.push_back(ToUtf8(adapter.id));
        AgentContext one{static_cast<Context&>(context), context.agent, adapter};
        ShowRescan(one);
    }
    context.report.body.erase("adapter");
    context.report.body["adapters"] = std::move(rescanned);
    if (!refusals.empty())
        throw Failure(Exit::LibraryRefused, std::move(refusals), std::move(hints));
}

} // namespace

void CreateVPort(AgentContext& context) {
    CQelString wwpn = Wide(context.options.wwpn);
    if (context.options.dryRun)
        CheckNewPort(context);
    else
        context.agent.CreateVPort(context.adapter.id, wwpn);
    const std::string name = ToUtf8(wwpn);
    const std::string shown = Printable(name);
    const bool generated = EqualIgnoringCase(wwpn, L"auto");
    ShowDone(context, "Created virtual port " + shown,
             generated ? "create a virtual port with a generated name" : "create virtual port " + shown, name);
}

void DeleteVPort(AgentContext& context) {
    const std::string& wwpn = context.options.wwpn;
    if (context.options.dryRun)
        CheckOldPort(context);
    else
        context.agent.DeleteVPort(context.adapter.id, Wide(wwpn));
    ShowDone(context, "Deleted virtual port " + Printable(wwpn), "delete virtual port " + Printable(wwpn), wwpn);
}

// The name alone on its line, for scripts that take it from there.
void GenerateWWPN(AgentContext& context) {
    const CQelString wwpn = context.agent.GenerateWWPN(context.adapter.id);
    context.report.body["adapter"] = ToUtf8(context.adapter.id);
    context.report.body["port_wwn"] = ToUtf8(wwpn);
    if (!context.options.json)
        context.output.Write(Printable(ToUtf8(wwpn)) + '\n');
}

void Rescan(AgentContext& context) {
    if (context.options.allAdapters)
        return RescanAll(context);
    if (!context.options.dryRun)
        context.agent.RefreshTargets(context.adapter.id);
    ShowRescan(context);
}

} // namespace fcoectl
