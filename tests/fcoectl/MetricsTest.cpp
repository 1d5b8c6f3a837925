#include "tools/fcoectl/Metrics.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FcoeAgent/QelResource.h"
#include "FcoeAgent/QelString.h"
#include "tools/fcoectl/Text.h"

using fcoectl::MetricsData;
using fcoectl::MetricsForm;
using fcoectl::RenderMetrics;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

namespace {

Json Of(const char* id, const char* name, Json more = Json::object()) {
    Json record{{"device_id", id}, {"second_id", name}};
    record.update(more);
    return record;
}

std::string Label(UINT resource) {
    CQelString text;
    EXPECT_LT(0, text.LoadCommonResString(resource));
    return fcoectl::ToUtf8(text);
}

Json Counter(UINT resource, std::int64_t value) {
    return Of("{A}", "One", {{"label", Label(resource)}, {"value", value}});
}

// Two adapters: the first with two ports, a target and two LUNs, the second with nothing.
MetricsData Data() {
    MetricsData data;
    data.hbas = {Of("{A}", "One",
                    {{"port_wwn", "20:00:00:1B:21:00:00:01"},
                     {"node_wwn", "10:00:00:1B:21:00:00:01"},
                     {"model", "ON-"},
                     {"port_speed", "10 Gbps"},
                     {"pci_location", "PCI bus 4"}}),
                 Of("{B}", "Two")};
    data.links = {Of("{A}", "One", {{"state", "usable"}}), Of("{B}", "Two", {{"state", "offline"}})};
    data.ports = {Of("{A}", "One", {{"port_type", 0}}), Of("{A}", "One", {{"port_type", 2}})};
    data.targets = Json::array({Of("{A}", "One")});
    data.luns = {Of("{A}", "One"), Of("{A}", "One")};
    data.statistics = Json::array();
    data.problems = Json::array();
    data.seconds = {{"luns", 0.25}};
    data.complete = true;
    data.completed = 1795369334.5;
    return data;
}

std::string Prometheus(const MetricsData& data) {
    return RenderMetrics(data, MetricsForm::Prometheus);
}

} // namespace

TEST(Metrics, AdaptersAreLabelledWithWhatTheyAre) {
    EXPECT_THAT(Prometheus(Data()),
                HasSubstr("# HELP fcoe_adapter_info An adapter port that supports FCoE.\n"
                          "# TYPE fcoe_adapter_info gauge\n"
                          "fcoe_adapter_info{adapter=\"{A}\",name=\"One\",port_wwn=\"20:00:00:1B:21:00:00:01\","
                          "node_wwn=\"10:00:00:1B:21:00:00:01\",model=\"ON-\",port_speed=\"10 Gbps\","
                          "pci_location=\"PCI bus 4\"} 1\n"));
}

TEST(Metrics, LinkIsUsableOrInTheStateThatIsNamed) {
    const std::string text = Prometheus(Data());
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_usable{adapter=\"{A}\",name=\"One\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_usable{adapter=\"{B}\",name=\"Two\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_state{adapter=\"{B}\",name=\"Two\",state=\"offline\"} 1\n"));
}

TEST(Metrics, NumbersOfRecordsAreByAdapterAndZeroWithout) {
    const std::string text = Prometheus(Data());
    EXPECT_THAT(text, HasSubstr("\nfcoe_ports{adapter=\"{A}\",name=\"One\",kind=\"physical\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_ports{adapter=\"{A}\",name=\"One\",kind=\"virtual\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_targets{adapter=\"{A}\",name=\"One\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_luns{adapter=\"{A}\",name=\"One\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_luns{adapter=\"{B}\",name=\"Two\"} 0\n"));
}

TEST(Metrics, CountersEndInTotalAndWordsAreBytes) {
    MetricsData data = Data();
    data.statistics = {Counter(IDS_QEL_STAT_TX_FRAMES, 7), Counter(IDS_QEL_STAT_TX_WORDS, 2000)};
    const std::string text = Prometheus(data);
    EXPECT_THAT(text, HasSubstr("# TYPE fcoe_transmit_frames_total counter\n"
                                "fcoe_transmit_frames_total{adapter=\"{A}\",name=\"One\"} 7\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_transmit_bytes_total{adapter=\"{A}\",name=\"One\"} 8000\n"));
}

TEST(Metrics, EveryCounterThatMeansSomethingIsThere) {
    MetricsData data = Data();
    data.statistics = Json::array();
    for (UINT resource = IDS_QEL_STAT_TX_FRAMES; resource <= IDS_QEL_STAT_LINK_FAILURE; ++resource)
        data.statistics.push_back(Counter(resource, resource));
    const std::string text = Prometheus(data);
    for (UINT resource = IDS_QEL_STAT_TX_FRAMES; resource <= IDS_QEL_STAT_LINK_FAILURE; ++resource) {
        const bool words = resource == IDS_QEL_STAT_TX_WORDS || resource == IDS_QEL_STAT_RX_WORDS;
        const bool derived = resource == IDS_QEL_STAT_TX_KILOBYTES || resource == IDS_QEL_STAT_RX_KILOBYTES;
        const bool reserved = resource == IDS_QEL_STAT_TX_RESERVED || resource == IDS_QEL_STAT_RX_RESERVED;
        const std::string sample =
            "_total{adapter=\"{A}\",name=\"One\"} " + std::to_string(words ? 4 * resource : resource);
        if (derived || reserved)
            EXPECT_THAT(text, Not(HasSubstr(sample + '\n'))) << Label(resource);
        else
            EXPECT_THAT(text, HasSubstr(sample + '\n')) << Label(resource);
    }
}

TEST(Metrics, CounterThatTheLibraryDoesNotKeepIsLeftOut) {
    MetricsData data = Data();
    data.statistics = Json::array({Counter(IDS_QEL_STAT_TX_FRAMES, -1)});
    EXPECT_THAT(Prometheus(data), Not(HasSubstr("fcoe_transmit_frames")));
}

TEST(Metrics, ProblemsAreCountedByAdapterAndForAll) {
    MetricsData data = Data();
    EXPECT_THAT(Prometheus(data), HasSubstr("\nfcoe_problems{adapter=\"\",name=\"\"} 0\n"));
    data.problems = {{{"adapter", "{B}"}}, {{"adapter", "{B}"}}, {{"adapter", ""}}};
    data.complete = false;
    const std::string text = Prometheus(data);
    EXPECT_THAT(text, HasSubstr("\nfcoe_problems{adapter=\"\",name=\"\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_problems{adapter=\"{A}\",name=\"One\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_problems{adapter=\"{B}\",name=\"Two\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_read_complete 0\n"));
}

TEST(Metrics, TellsHowLongReadingTookAndWhenItWasDone) {
    const std::string text = Prometheus(Data());
    EXPECT_THAT(text, HasSubstr("\nfcoe_read_complete 1\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_read_duration_seconds{list=\"luns\"} 0.250000\n"));
    EXPECT_THAT(text, EndsWith("\nfcoe_read_timestamp_seconds 1795369334.500000\n"));
}

TEST(Metrics, AdapterThatCouldNotBeReadHasNoSample) {
    MetricsData data = Data();
    data.hbas = {Of("", ""), Of("", "")};
    data.links = {Of("", "", {{"state", "unread"}})};
    const std::string text = Prometheus(data);
    for (const char* metric : {"fcoe_adapter_info", "fcoe_link_usable", "fcoe_targets"})
        EXPECT_THAT(text, Not(HasSubstr(metric)));
}

TEST(Metrics, WhatWasNotReadIsLeftOutAndNoZero) {
    const std::vector<std::pair<const char*, std::vector<const char*>>> lacks = {
        {"luns", {"fcoe_luns"}},
        {"targets", {"fcoe_luns", "fcoe_targets"}},
        {"ports", {"fcoe_luns", "fcoe_targets", "fcoe_ports"}},
        {"vendor", {}}};
    for (const auto& [what, missing] : lacks) {
        MetricsData data = Data();
        data.problems = Json::array({{{"adapter", "{A}"}, {"what", what}}});
        const std::string text = Prometheus(data);
        for (const std::string metric : {"fcoe_luns", "fcoe_targets", "fcoe_ports"}) {
            const bool left = std::ranges::find(missing, metric) == missing.end();
            EXPECT_EQ(left, text.find('\n' + metric + "{adapter=\"{A}\"") != std::string::npos) << what << metric;
            EXPECT_THAT(text, HasSubstr('\n' + metric + "{adapter=\"{B}\"")) << what;
        }
    }
    MetricsData data = Data();
    data.links = Json::array({Of("{A}", "One", {{"state", "unread"}})});
    data.problems = Json::array({{{"adapter", ""}, {"what", "targets"}}});
    const std::string text = Prometheus(data);
    EXPECT_THAT(text, Not(HasSubstr("fcoe_link_usable")));
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_state{adapter=\"{A}\",name=\"One\",state=\"unread\"} 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("fcoe_targets"))) << "a problem of all adapters";
}

TEST(Metrics, LinkWhoseStateWasNotReadIsNotCalledUnusable) {
    MetricsData data = Data();
    data.links = {Of("{A}", "One", {{"state", "dcb_off"}}), Of("{B}", "Two", {{"state", "dcb_off"}})};
    data.problems = Json::array({{{"adapter", "{A}"}, {"what", "link_state"}}});
    const std::string text = Prometheus(data);
    EXPECT_THAT(text, Not(HasSubstr("\nfcoe_link_usable{adapter=\"{A}\"")));
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_usable{adapter=\"{B}\",name=\"Two\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nfcoe_link_state{adapter=\"{A}\",name=\"One\",state=\"dcb_off\"} 1\n"));
}

TEST(Metrics, LabelsAreEscaped) {
    MetricsData data = Data();
    data.links = Json::array({Of("{A}", "a\\b\"c\nd", {{"state", "usable"}})});
    EXPECT_THAT(Prometheus(data), HasSubstr("fcoe_link_usable{adapter=\"{A}\",name=\"a\\\\b\\\"c\\nd\"} 1\n"));
}

TEST(Metrics, OpenMetricsNamesFamiliesWithoutSuffixAndEnds) {
    MetricsData data = Data();
    data.statistics = Json::array({Counter(IDS_QEL_STAT_TX_WORDS, 1)});
    const std::string text = RenderMetrics(data, MetricsForm::OpenMetrics);
    EXPECT_THAT(text, HasSubstr("# TYPE fcoe_adapter info\n"));
    EXPECT_THAT(text, HasSubstr("# TYPE fcoe_transmit_bytes counter\n# UNIT fcoe_transmit_bytes bytes\n"
                                "fcoe_transmit_bytes_total{adapter=\"{A}\",name=\"One\"} 4\n"));
    EXPECT_THAT(text, EndsWith("\n# EOF\n"));
    EXPECT_THAT(Prometheus(data), Not(HasSubstr("# EOF")));
    EXPECT_THAT(Prometheus(data), Not(HasSubstr("# UNIT")));
}
