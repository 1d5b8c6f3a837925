#include "tools/fcoectl/report/ReportCommand.h"

#include <algorithm>
#include <functional>

#include <fmt/format.h>

#include "tools/fcoectl/Machine.h"
#include "tools/fcoectl/OutputFile.h"
#include "tools/fcoectl/Perform.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/report/ReportPage.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t SLOWEST = 20;

// The document of `log requests` with the slowest of them; null when there is no log. last: see ReportData.
Json Slowest(Part part, std::size_t& last) {
    if (part.failure)
        return nullptr;
    auto& requests = part.document["requests"].get_ref<Json::array_t&>();
    last = part.document["total"] > requests.size() ? requests.size() : 0;
    std::ranges::stable_sort(requests, std::greater(),
                             [](const Json& request) { return request.value("milliseconds", 0.0); });
    requests.resize(std::min(requests.size(), SLOWEST));
    return std::move(part.document);
}

void AskAgent(Context& context, ReportData& data) {
    const auto agent = LoadAgent(context);
    const Adapter adapter = ChooseAdapter(*agent, context.options.adapter, Need::Any);
    const auto read = [&](const char* command) {
        Part part = PartOf(context, command, *agent, adapter);
        if (part.failure)
            throw *part.failure;
        return std::move(part.document);
    };
    data.tree = read("tree");
    data.links = read("dcb");
    data.vlans = read("vlans");
    data.statistics = read("stats");
}

void MaskAll(const reading::Mask& mask, ReportData& data) {
    for (std::string* text : {&data.computer, &data.user, &data.refusal})
        *text = mask.Apply(*text);
    for (Json* document :
         {&data.tree, &data.links, &data.vlans, &data.statistics, &data.doctor, &data.requests, &data.version})
        mask.Apply(*document);
}

} // namespace

std::string MakePage(Context& context, std::optional<Failure>& failure) {
    ReportData data;
    data.computer = ComputerName();
    data.user = UserName();
    data.time = LocalTime();
    // The agent begins its log anew when it is loaded, by the doctor, too.
    data.requests = Slowest(PartOf(context, "log requests"), data.lastRequests);
    data.doctor = PartOf(context, "doctor").document;
    data.version = PartOf(context, "version").document;
    try {
        AskAgent(context, data);
    } catch (const Failure& refused) {
        failure = refused;
        data.refusal = refused.what();
    }
    data.masked = context.mask != nullptr;
    if (context.mask)
        MaskAll(*context.mask, data);
    return RenderPage(data);
}

void WriteReport(Context& context) {
    std::optional<Failure> failure;
    const std::string page = MakePage(context, failure);
    OutputFile file(context.options.file);
    file.Write(page);
    file.Finish();
    context.report.body["output"] = file.Name();
    if (!context.options.json)
        context.output.Write(Printable(fmt::format("Wrote the report to {}.", file.Name())) + "\n");
    if (failure)
        throw *failure;
}

} // namespace fcoectl
