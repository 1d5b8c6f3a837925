#include "tools/fcoectl/report/ReportPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using fcoectl::RenderPage;
using fcoectl::ReportData;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

namespace {

constexpr char ADAPTER_ID[] = "{0B6C7E1A-5D24-4F8B-9C11-000000000001}";

Json Lun(int number) {
    return {{"os_lun", number},
            {"os_device_name", "\\\\.\\PHYSICALDRIVE" + std::to_string(number)},
            {"capacity", "100 GB"},
            {"block_size", "512 bytes"},
            {"target_port_wwn", "50:06:01:60:00:00:00:01"},
            {"initiator_port_wwn", "20:00:00:1B:21:00:00:01"},
            {"second_id", "Adapter one"}};
}

Json Target() {
    return {{"port_wwn", "50:06:01:60:00:00:00:01"},
            {"node_wwn", "50:06:01:60:00:00:00:00"},
            {"vendor", "ACME"},
            {"serial", "SN-0001"},
            {"fabric_name", "Fabric 1"},
            {"second_id", "Adapter one"},
            {"luns", Json::array({Lun(1), Lun(2)})}};
}

// An adapter with a fabric, a port, a target and two LUNs, and a third LUN that has no parent.
Json Tree() {
    const Json port{{"port_wwn", "20:00:00:1B:21:00:00:01"},
                    {"node_wwn", "10:00:00:1B:21:00:00:01"},
                    {"kind", "Physical port"},
                    {"fabric_name", "Fabric 1"},
                    {"second_id", "Adapter one"},
                    {"targets", Json::array({Target()})}};
    const Json fabric{{"name", "Fabric 1"}, {"kind", "Physical"}, {"ports", Json::array({port})}};
    const Json lost{{"ports", Json::array()}, {"targets", Json::array()}, {"luns", Json::array({Lun(3)})}};
    const Json adapter{{"device_id", ADAPTER_ID},
                       {"second_id", "Adapter one"},
                       {"port_wwn", "20:00:00:1B:21:00:00:01"},
                       {"node_wwn", "10:00:00:1B:21:00:00:01"},
                       {"port_speed", "10 Gbps"},
                       {"fcoe_link_status", "Link up"},
                       {"pci_location", "PCI bus 4, device 0, function 0"},
                       {"model", "ON-"},
                       {"fabrics", Json::array({fabric})},
                       {"without_parent", lost}};
    return {{"complete", true}, {"problems", Json::array()}, {"adapters", Json::array({adapter})}};
}

ReportData Healthy() {
    ReportData report;
    report.computer = "SRV-01";
    report.user = "operator";
    report.time = "2026-11-22 17:02:14";
    report.tree = Tree();
    report.version = {{"fcoectl_version", "1.0.0"}, {"agent_version", "1.0.0.0"}};
    return report;
}

ReportData WithProblem(const Json& problem) {
    ReportData report = Healthy();
    report.tree["complete"] = false;
    report.tree["problems"] = Json::array({problem});
    return report;
}

std::size_t Count(const std::string& text, std::string_view wanted) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; at += wanted.size())
        ++count;
    return count;
}

// The document inside the page.
Json DataOf(const std::string& page) {
    const std::string begin = "<script type=\"application/json\" id=\"data\">";
    const auto from = page.find(begin) + begin.size();
    return Json::parse(page.substr(from, page.find("</script>", from) - from));
}

} // namespace

TEST(ReportPage, DrawsEveryObjectOnce) {
    const std::string page = RenderPage(Healthy());
    EXPECT_EQ(1U, Count(page, "data-kind=\"adapter\""));
    EXPECT_EQ(1U, Count(page, "data-kind=\"fabric\""));
    EXPECT_EQ(1U, Count(page, "data-kind=\"port\""));
    EXPECT_EQ(1U, Count(page, "data-kind=\"target\""));
    EXPECT_EQ(3U, Count(page, "data-kind=\"lun\""));
    EXPECT_THAT(page, HasSubstr("Without a parent in the lists"));
}

TEST(ReportPage, CountsWhatItShows) {
    const std::string page = RenderPage(Healthy());
    for (const char* tile : {"<b>1</b>adapter<", "<b>1</b>fabric<", "<b>1</b>port<", "<b>1</b>target<", "<b>3</b>LUNs<",
                             "<b>0</b>problems<"})
        EXPECT_THAT(page, HasSubstr(tile));
}

TEST(ReportPage, SaysThatAllWasReadOnlyWhenItWas) {
    const Json problem{
        {"adapter", ADAPTER_ID}, {"function", "ScsiInquiry"}, {"text", "No vendor."}, {"advice", "Wait."}};
    EXPECT_THAT(RenderPage(Healthy()), HasSubstr("Everything was read."));
    const std::string page = RenderPage(WithProblem(problem));
    EXPECT_THAT(page, Not(HasSubstr("Everything was read.")));
    EXPECT_THAT(page, HasSubstr("Not everything could be read."));
    EXPECT_THAT(page, HasSubstr("No vendor."));
    EXPECT_THAT(page, HasSubstr("Adapter one, ScsiInquiry"));
    EXPECT_THAT(page, HasSubstr("Wait."));
}

TEST(ReportPage, SaysWhyNothingWasRead) {
    ReportData report = Healthy();
    report.tree = nullptr;
    report.refusal = "The agent is not installed.";
    const std::string page = RenderPage(report);
    EXPECT_THAT(page, Not(HasSubstr("Everything was read.")));
    EXPECT_THAT(page, HasSubstr("<b>The agent is not installed.</b>"));
    EXPECT_THAT(page, HasSubstr("<b class=\"bad\">1</b>problem<"));
    EXPECT_FALSE(DataOf(page)["complete"].get<bool>());
}

TEST(ReportPage, MarksTheAdapterThatAProblemNames) {
    EXPECT_EQ(0U, Count(RenderPage(Healthy()), "node adapter troubled"));
    EXPECT_EQ(1U, Count(RenderPage(WithProblem({{"adapter", ADAPTER_ID}, {"text", "x"}})), "node adapter troubled"));
    EXPECT_EQ(0U, Count(RenderPage(WithProblem({{"adapter", "{other}"}, {"text", "x"}})), "node adapter troubled"));
    EXPECT_EQ(1U, Count(RenderPage(WithProblem({{"adapter", ""}, {"text", "x"}})), "node adapter troubled"));
}

TEST(ReportPage, ShowsAProblemOfSeveralDocumentsOnce) {
    ReportData report = WithProblem({{"adapter", ADAPTER_ID}, {"function", "ScsiInquiry"}, {"text", "No vendor."}});
    report.links = {{"complete", false}, {"problems", report.tree["problems"]}, {"links", Json::array()}};
    EXPECT_EQ(1U, Count(RenderPage(report), "<b>No vendor.</b>"));
}

TEST(ReportPage, TextsCannotBecomeMarkup) {
    ReportData report = Healthy();
    report.computer = "<script>alert(1)</script>&\"";
    report.tree["adapters"][0]["second_id"] = "</script><b>";
    const std::string page = RenderPage(report);
    EXPECT_EQ(1U, Count(page, "<script"));
    EXPECT_EQ(1U, Count(page, "</script"));
    EXPECT_THAT(page, HasSubstr("FCoE report of &lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;"));
    EXPECT_EQ("</script><b>", DataOf(page)["tree"]["adapters"][0]["second_id"]);
}

TEST(ReportPage, HoldsTheDocumentsAsData) {
    const ReportData report = Healthy();
    const Json data = DataOf(RenderPage(report));
    EXPECT_EQ("fcoectl/report", data["schema"]);
    EXPECT_EQ(report.tree, data["tree"]);
    EXPECT_TRUE(data["complete"].get<bool>());
    EXPECT_TRUE(data["links"].is_null());
}

TEST(ReportPage, NeedsNothingFromOutside) {
    const std::string page = RenderPage(Healthy());
    for (const char* outside : {"http:", "https:", "src=", "url(", "@import"})
        EXPECT_THAT(page, Not(HasSubstr(outside)));
}

TEST(ReportPage, HasAColumnOfCountersForEachAdapter) {
    ReportData report = Healthy();
    const auto counter = [](const char* adapter, int value) {
        return Json{{"second_id", adapter}, {"label", "Frames sent"}, {"value", value}};
    };
    report.statistics = {{"complete", true}, {"statistics", Json::array({counter("One", 11), counter("Two", 22)})}};
    const std::string page = RenderPage(report);
    EXPECT_EQ(1U, Count(page, "<td>Frames sent</td>"));
    EXPECT_THAT(page, HasSubstr("<td class=\"number\">11</td><td class=\"number\">22</td>"));
}

TEST(ReportPage, LinkStatesHaveTheirMeaning) {
    ReportData report = Healthy();
    report.links = {{"complete", true},
                    {"links", Json::array({{{"second_id", "Adapter one"},
                                            {"fcoe_link_status", "Port not online"},
                                            {"state", "offline"},
                                            {"meaning", "Check the cable."}}})}};
    const std::string page = RenderPage(report);
    EXPECT_THAT(page, HasSubstr("<td class=\"bad\">Port not online</td>"));
    EXPECT_THAT(page, HasSubstr("Check the cable."));
}

TEST(ReportPage, TheSlowestRequestHasTheWholeBar) {
    ReportData report = Healthy();
    report.requests = {{"requests", Json::array({{{"operation", "EnumerateLUNs"}, {"milliseconds", 40.0}},
                                                 {{"operation", "EnumerateHBAs"}, {"milliseconds", 10.0}}})}};
    const std::string page = RenderPage(report);
    EXPECT_THAT(page, HasSubstr("width: 100.0%"));
    EXPECT_THAT(page, HasSubstr("width: 25.0%"));
    EXPECT_THAT(page, HasSubstr("Of the log that"));
    report.lastRequests = 1000;
    EXPECT_THAT(RenderPage(report), HasSubstr("Of the last 1000 requests of the log that"));
}

TEST(ReportPage, FindingsOfTheDoctorKeepTheirResult) {
    ReportData report = Healthy();
    const auto check = [](const char* result) {
        return Json{{"check", result}, {"result", result}, {"text", "t"}, {"advice", "a"}};
    };
    report.doctor = {{"checks", Json::array({check("ok"), check("warning"), check("failure")})}};
    const std::string page = RenderPage(report);
    EXPECT_THAT(page, HasSubstr("<td class=\"good\">ok</td>"));
    EXPECT_THAT(page, HasSubstr("<td class=\"warn\">warning</td>"));
    EXPECT_THAT(page, HasSubstr("<td class=\"bad\">failure</td>"));
}

TEST(ReportPage, PartsWithoutADocumentAreLeftOut) {
    const std::string page = RenderPage(Healthy());
    for (const char* part : {"id=\"links\"", "id=\"doctor\"", "id=\"requests\"", "id=\"problems\"", ">Counters<"})
        EXPECT_THAT(page, Not(HasSubstr(part)));
}

TEST(ReportPage, WithoutAnAdapterSaysSo) {
    ReportData report = Healthy();
    report.tree["adapters"] = Json::array();
    EXPECT_THAT(RenderPage(report), HasSubstr("No adapter is known."));
}
