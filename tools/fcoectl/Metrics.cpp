#include "tools/fcoectl/Metrics.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <string_view>

#include <fmt/format.h>

#include "FcoeAgent/QelResource.h"
#include "FcoeAgent/QelString.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/LinkStatus.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using Labels = std::vector<std::pair<const char*, std::string>>;

constexpr int BYTES_A_WORD = 4; // of Fibre Channel

// A counter of the agent by the text that labels it.
struct CounterMetric {
    UINT resource; // of the common library's text
    const char* name;
    const char* unit; // empty: none
    const char* help;
    int factor = 1;
};

constexpr CounterMetric COUNTERS[] = {
    {IDS_QEL_STAT_TX_FRAMES, "fcoe_transmit_frames", "", "Frames sent."},
    {IDS_QEL_STAT_TX_WORDS, "fcoe_transmit_bytes", "bytes", "Bytes sent: words of four bytes.", BYTES_A_WORD},
    {IDS_QEL_STAT_RX_FRAMES, "fcoe_receive_frames", "", "Frames received."},
    {IDS_QEL_STAT_RX_WORDS, "fcoe_receive_bytes", "bytes", "Bytes received: words of four bytes.", BYTES_A_WORD},
    {IDS_QEL_STAT_ERROR_FRAMES, "fcoe_error_frames", "", "Frames received with errors."},
    {IDS_QEL_STAT_DUMPED_FRAMES, "fcoe_dumped_frames", "", "Frames lost for want of buffers."},
    {IDS_QEL_STAT_LOSS_OF_SYNC, "fcoe_synchronization_losses", "", "Losses of synchronization."},
    {IDS_QEL_STAT_INVALID_CRC, "fcoe_invalid_crcs", "", "Frames with an invalid checksum."},
    {IDS_QEL_STAT_INVALID_TX_WORD, "fcoe_invalid_transmission_words", "", "Invalid transmission words."},
    {IDS_QEL_STAT_LOSS_OF_SIGNAL, "fcoe_signal_losses", "", "Losses of signal."},
    {IDS_QEL_STAT_LINK_FAILURE, "fcoe_link_failures", "", "Failures of the link."},
};

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
            continue;
        }
        if (c == '\\' || c == '"')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string LabelText(const Labels& labels) {
    std::string text;
    for (const auto& [key, value] : labels)
        text += fmt::format("{}{}=\"{}\"", text.empty() ? "" : ",", key, Escaped(value));
    return text.empty() ? "" : "{" + text + "}";
}

// One metric with its samples. Without a sample nothing is written of it.
class Family {
  public:
    Family(MetricsForm form, std::string name, const char* type, const char* help, const char* unit = "")
        : m_form(form), m_name(std::move(name)), m_type(type), m_help(help), m_unit(unit) {}

    void Add(const Labels& labels, const std::string& value) {
        m_samples += fmt::format("{}{} {}\n", SampleName(), LabelText(labels), value);
    }
    void Add(const Labels& labels, std::int64_t value) { Add(labels, fmt::format("{}", value)); }

    std::string Text() const {
        if (m_samples.empty())
            return {};
        // OpenMetrics names the family without the suffix of its samples, and knows more types.
        const bool open = m_form == MetricsForm::OpenMetrics;
        const std::string name = open ? m_name : SampleName();
        const std::string type = open || m_type != "info" ? m_type : "gauge";
        std::string text = fmt::format("# HELP {} {}\n# TYPE {} {}\n", name, m_help, name, type);
        if (open && !m_unit.empty())
            text += fmt::format("# UNIT {} {}\n", name, m_unit);
        return text + m_samples;
    }

  private:
    std::string SampleName() const {
        return m_name + (m_type == "counter" ? "_total" : m_type == "info" ? "_info" : "");
    }

    MetricsForm m_form;
    std::string m_name;
    std::string m_type;
    std::string m_help;
    std::string m_unit;
    std::string m_samples;
};

std::string Text(const Json& record, const char* key) {
    return record.value(key, "");
}

// An adapter that could not be read has a record without texts: two of them could not be told apart.
std::vector<const Json*> Known(const Json& records) {
    std::vector<const Json*> known;
    for (const Json& record : records)
        if (!Text(record, "device_id").empty())
            known.push_back(&record);
    return known;
}

// By which everything is told apart, and what people call it.
Labels AdapterLabels(const Json& record) {
    return {{"adapter", Text(record, "device_id")}, {"name", Text(record, "second_id")}};
}

// Whether a problem says that one of these was not read of the adapter.
bool Lacks(const MetricsData& data, const Json& hba, std::initializer_list<std::string_view> whats) {
    return std::ranges::any_of(data.problems, [&](const Json& problem) {
        const std::string adapter = Text(problem, "adapter");
        return (adapter.empty() || adapter == Text(hba, "device_id")) &&
               std::ranges::find(whats, Text(problem, "what")) != whats.end();
    });
}

std::string Seconds(double seconds) {
    return fmt::format("{:.6f}", seconds);
}

std::string Adapters(const MetricsData& data, MetricsForm form) {
    Family info(form, "fcoe_adapter", "info", "An adapter port that supports FCoE.");
    for (const Json* hba : Known(data.hbas)) {
        Labels labels = AdapterLabels(*hba);
        for (const char* key : {"port_wwn", "node_wwn", "model", "port_speed", "pci_location"})
            labels.emplace_back(key, Text(*hba, key));
        info.Add(labels, 1);
    }
    return info.Text();
}

std::string Links(const MetricsData& data, MetricsForm form) {
    Family usable(form, "fcoe_link_usable", "gauge", "Whether DCB makes the link fit for FCoE.");
    Family state(form, "fcoe_link_state", "gauge", "1 for the state in which the link is.");
    for (const Json* link : Known(data.links)) {
        Labels labels = AdapterLabels(*link);
        if (Text(*link, "state") != UNREAD_LINK.state && !Lacks(data, *link, {"adapter", "link_state"}))
            usable.Add(labels, Text(*link, "state") == USABLE_LINK.state);
        labels.emplace_back("state", Text(*link, "state"));
        state.Add(labels, 1);
    }
    return usable.Text() + state.Text();
}

// How many records each adapter has; 0 for an adapter without one. whats: whose lack makes the list one that is not
// whole.
std::string Count(const MetricsData& data, const Json& records, MetricsForm form, const char* name, const char* help,
                  std::initializer_list<std::string_view> whats) {
    Family family(form, name, "gauge", help);
    for (const Json* hba : Known(data.hbas)) {
        if (Lacks(data, *hba, whats))
            continue;
        std::int64_t count = 0;
        for (const Json& record : records)
            count += Text(record, "device_id") == Text(*hba, "device_id");
        family.Add(AdapterLabels(*hba), count);
    }
    return family.Text();
}

std::string Ports(const MetricsData& data, MetricsForm form) {
    constexpr int firstVirtual = 2;
    Family family(form, "fcoe_ports", "gauge", "Fibre Channel ports of the adapter.");
    for (const Json* hba : Known(data.hbas)) {
        if (Lacks(data, *hba, {"adapter", "fabrics", "ports"}))
            continue;
        for (const bool isVirtual : {false, true}) {
            std::int64_t count = 0;
            for (const Json& port : data.ports)
                count += Text(port, "device_id") == Text(*hba, "device_id") &&
                         (port.value("port_type", 0) >= firstVirtual) == isVirtual;
            Labels labels = AdapterLabels(*hba);
            labels.emplace_back("kind", isVirtual ? "virtual" : "physical");
            family.Add(labels, count);
        }
    }
    return family.Text();
}

std::string Counters(const MetricsData& data, MetricsForm form) {
    std::string text;
    for (const CounterMetric& counter : COUNTERS) {
        CQelString label;
        if (label.LoadCommonResString(counter.resource) <= 0)
            continue;
        const std::string wanted = ToUtf8(label);
        Family family(form, counter.name, "counter", counter.help, counter.unit);
        for (const Json& record : data.statistics)
            if (const auto value = record.value("value", std::int64_t{-1});
                value >= 0 && Text(record, "label") == wanted)
                family.Add(AdapterLabels(record), value * counter.factor);
        text += family.Text();
    }
    return text;
}

// Those that concern all adapters have empty labels.
std::string Problems(const MetricsData& data, MetricsForm form) {
    std::map<std::string, std::int64_t> counts{{"", 0}};
    std::map<std::string, std::string> names;
    for (const Json* hba : Known(data.hbas)) {
        counts[Text(*hba, "device_id")] = 0;
        names[Text(*hba, "device_id")] = Text(*hba, "second_id");
    }
    for (const Json& problem : data.problems)
        ++counts[Text(problem, "adapter")];
    Family family(form, "fcoe_problems", "gauge", "What could not be read, by adapter; of all of them without one.");
    for (const auto& [id, count] : counts)
        family.Add({{"adapter", id}, {"name", names[id]}}, count);
    return family.Text();
}

std::string ReadingMetrics(const MetricsData& data, MetricsForm form) {
    Family complete(form, "fcoe_read_complete", "gauge", "Whether everything was read.");
    complete.Add({}, data.complete);
    Family seconds(form, "fcoe_read_duration_seconds", "gauge", "How long reading the list took.", "seconds");
    for (const auto& [list, duration] : data.seconds)
        seconds.Add({{"list", list}}, Seconds(duration));
    Family completed(form, "fcoe_read_timestamp_seconds", "gauge", "When everything was read, in seconds since 1970.",
                     "seconds");
    completed.Add({}, Seconds(data.completed));
    return complete.Text() + seconds.Text() + completed.Text();
}

} // namespace

std::string RenderMetrics(const MetricsData& data, MetricsForm form) {
    return Adapters(data, form) + Links(data, form) + Ports(data, form) +
           Count(data, data.targets, form, "fcoe_targets", "Targets that the adapter's ports reach.",
                 {"adapter", "fabrics", "ports", "targets"}) +
           Count(data, data.luns, form, "fcoe_luns", "Logical units behind the adapter's targets.",
                 {"adapter", "fabrics", "ports", "targets", "luns"}) +
           Counters(data, form) + Problems(data, form) + ReadingMetrics(data, form) +
           (form == MetricsForm::OpenMetrics ? "# EOF\n" : "");
}

} // namespace fcoectl
