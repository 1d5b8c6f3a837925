#include "tools/fcoectl/ChangeCommands.h"

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

CQelString Wide(const std::string& text) {
    CQelString wide;
    wide = FromUtf8(text);
    return wide;
}

// The adapter's identifier in the document, and the line for people.
void ShowDone(AgentContext& context, const char* what, const CQelString& wwpn) {
    context.report.body["adapter"] = ToUtf8(context.adapter.id);
    if (!wwpn.empty())
        context.report.body["port_wwn"] = ToUtf8(wwpn);
    if (context.options.json)
        return;
    const std::string port = wwpn.empty() ? "" : fmt::format(" virtual port {}", Printable(ToUtf8(wwpn)));
    context.output.Write(fmt::format("{}{} on {}\n", what, port, context.adapter.Label()));
}

} // namespace

void CreateVPort(AgentContext& context) {
    CQelString wwpn = Wide(context.options.wwpn);
    context.agent.CreateVPort(context.adapter.id, wwpn);
    ShowDone(context, "Created", wwpn);
}

void DeleteVPort(AgentContext& context) {
    const CQelString wwpn = Wide(context.options.wwpn);
    context.agent.DeleteVPort(context.adapter.id, wwpn);
    ShowDone(context, "Deleted", wwpn);
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
    context.agent.RefreshTargets(context.adapter.id);
    ShowDone(context, "Rescanned the targets", {});
}

} // namespace fcoectl
