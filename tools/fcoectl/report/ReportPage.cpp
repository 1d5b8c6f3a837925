#include "tools/fcoectl/report/ReportPage.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>
#include <kainjow/mustache.hpp>

#include "tools/fcoectl/report/FabricPicture.h"
#include "tools/fcoectl/report/PageTables.h"
#include "tools/fcoectl/report/PageTemplate.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using kainjow::mustache::data;
using kainjow::mustache::mustache;

// The template's view of a JSON value. An empty text is false, so that a section can ask whether there is one.
data View(const Json& value) {
    switch (value.type()) {
    case Json::value_t::object: {
        data object(data::type::object);
        for (const auto& [key, member] : value.items())
            object.set(key, View(member));
        return object;
    }
    case Json::value_t::array: {
        data list(data::type::list);
        for (const Json& element : value)
            list << View(element);
        return list;
    }
    case Json::value_t::string:
        return value.get_ref<const std::string&>().empty() ? data(false) : data(value.get<std::string>());
    case Json::value_t::boolean:
        return data(value.get<bool>());
    case Json::value_t::null:
        return data(false);
    default:
        return data(value.dump());
    }
}

// A list under its name, and whether it has elements: a template cannot ask for the latter around the whole list.
void SetList(Json& view, const std::string& name, Json list) {
    view["has_" + name] = !list.empty();
    view[name] = std::move(list);
}

Json Member(const Json& document, const char* key) {
    return document.is_object() && document.contains(key) ? document[key] : Json::array();
}

// The problems of all documents, each once.
Json Problems(const ReportData& report) {
    Json problems = Json::array();
    std::set<std::string> seen;
    for (const Json* document : {&report.tree, &report.links, &report.vlans, &report.statistics})
        for (const Json& problem : Member(*document, "problems"))
            if (seen.insert(problem.dump()).second)
                problems.push_back(problem);
    return problems;
}

// The adapter as people know it; its identifier when it has no name.
std::string AdapterName(const ReportData& report, const std::string& id) {
    for (const Json& adapter : Member(report.tree, "adapters"))
        if (adapter.value("device_id", "") == id && !adapter.value("second_id", "").empty())
            return adapter["second_id"];
    return id;
}

Json ProblemView(const ReportData& report, const Json& problems) {
    Json list = Json::array();
    if (!report.refusal.empty())
        list.push_back({{"text", report.refusal},
                        {"where", ""},
                        {"advice", "Nothing of the fabric was read; the doctor below tells what else is wrong."}});
    for (const Json& problem : problems) {
        const std::string function = problem.value("function", "");
        const std::string adapter = AdapterName(report, problem.value("adapter", ""));
        list.push_back({{"text", problem.value("text", "")},
                        {"where", adapter + (adapter.empty() || function.empty() ? "" : ", ") + function},
                        {"advice", problem.value("advice", "")}});
    }
    return list;
}

Json LinkView(const Json& links) {
    Json list = Json::array();
    for (const Json& link : links) {
        const std::string state = link.value("state", "");
        list.push_back({{"name", link.value("second_id", "")},
                        {"status", link.value("fcoe_link_status", "").empty() ? "not read" : link["fcoe_link_status"]},
                        {"meaning", link.value("meaning", "")},
                        {"class", state == "usable" ? "good" : "bad"}});
    }
    return list;
}

Json CheckView(const Json& checks) {
    Json list = Json::array();
    for (const Json& check : checks) {
        const std::string result = check.value("result", "");
        list.push_back({{"name", check.value("check", "")},
                        {"result", result},
                        {"class", result == "ok"        ? "good"
                                  : result == "warning" ? "warn"
                                                        : "bad"},
                        {"text", check.value("text", "")},
                        {"advice", check.value("advice", "")}});
    }
    return list;
}

// The longest takes the whole width.
Json RequestView(const Json& requests) {
    double longest = 0;
    for (const Json& request : requests)
        longest = std::max(longest, request.value("milliseconds", 0.0));
    Json list = Json::array();
    for (const Json& request : requests) {
        const double milliseconds = request.value("milliseconds", 0.0);
        list.push_back({{"operation", request.value("operation", "")},
                        {"milliseconds", fmt::format("{:.1f}", milliseconds)},
                        {"percent", fmt::format("{:.1f}", longest > 0 ? 100 * milliseconds / longest : 0)}});
    }
    return list;
}

// No "</script>" and no "<!--" can come of it.
std::string ForScript(const Json& value) {
    std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string::npos; at += 6)
        text.replace(at, 1, "\\u003c");
    return text;
}

bool Complete(const ReportData& report) {
    const Json* const documents[] = {&report.tree, &report.links, &report.vlans, &report.statistics};
    return report.refusal.empty() && std::ranges::none_of(documents, [](const Json* document) {
               return document->is_object() && !document->value("complete", true);
           });
}

} // namespace

std::string RenderPage(const ReportData& report) {
    const Json problems = Problems(report);
    const FabricPicture picture = DrawFabric(Member(report.tree, "adapters"), problems);
    const bool complete = Complete(report);

    Json view;
    view["computer"] = report.computer;
    view["user"] = report.user;
    view["time"] = report.time;
    view["masked"] = report.masked;
    view["complete"] = complete;
    view["fcoectl_version"] = report.version.value("fcoectl_version", Json());
    view["agent_version"] = report.version.value("agent_version", Json());
    Json shown = ProblemView(report, problems);
    Json tiles = picture.counts;
    tiles.push_back(
        {{"name", shown.size() == 1 ? "problem" : "problems"}, {"count", shown.size()}, {"bad", !shown.empty()}});
    view["tiles"] = std::move(tiles);
    SetList(view, "problems", std::move(shown));
    SetList(view, "adapters", picture.adapters);
    SetList(view, "links", LinkView(Member(report.links, "links")));
    view["tables"] = PageTables(report);
    SetList(view, "checks", CheckView(Member(report.doctor, "checks")));
    SetList(view, "requests", RequestView(Member(report.requests, "requests")));
    view["last"] = report.lastRequests ? Json(report.lastRequests) : Json();
    view["log"] = Member(report.requests, "file");
    view["data"] = ForScript({{"schema", "fcoectl/report"},
                              {"version", 1},
                              {"complete", complete},
                              {"computer", report.computer},
                              {"user", report.user},
                              {"time", report.time},
                              {"masked", report.masked},
                              {"refusal", report.refusal},
                              {"tree", report.tree},
                              {"links", report.links},
                              {"vlans", report.vlans},
                              {"statistics", report.statistics},
                              {"doctor", report.doctor},
                              {"requests", report.requests},
                              {"versions", report.version}});

    data whole = View(view);
    whole.set("node", data(kainjow::mustache::partial([] { return std::string(NODE_TEMPLATE); })));
    mustache page{std::string(PAGE_TEMPLATE)};
    return page.render(whole);
}

} // namespace fcoectl
