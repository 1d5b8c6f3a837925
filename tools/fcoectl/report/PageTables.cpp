#include "tools/fcoectl/report/PageTables.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

enum class Look { Text, Code, Number };

struct PageColumn {
    const char* key;
    const char* title;
    Look look = Look::Text;
};

constexpr Look CODE = Look::Code;

const std::vector<PageColumn> ADAPTER_COLUMNS{{"second_id", "Name"},
                                              {"port_wwn", "Port WWN", CODE},
                                              {"node_wwn", "Node WWN", CODE},
                                              {"port_speed", "Speed"},
                                              {"pci_location", "PCI location"},
                                              {"model", "Model"},
                                              {"device_id", "Identifier", CODE}};
const std::vector<PageColumn> PORT_COLUMNS{{"port_wwn", "Port WWN", CODE},
                                           {"node_wwn", "Node WWN", CODE},
                                           {"kind", "Kind"},
                                           {"fabric_name", "Fabric"},
                                           {"second_id", "Adapter"}};
const std::vector<PageColumn> TARGET_COLUMNS{{"port_wwn", "Port WWN", CODE}, {"node_wwn", "Node WWN", CODE},
                                             {"vendor", "Vendor"},           {"serial", "Serial number"},
                                             {"fabric_name", "Fabric"},      {"second_id", "Adapter"}};
const std::vector<PageColumn> LUN_COLUMNS{{"os_lun", "LUN", Look::Number},
                                          {"os_device_name", "Device", CODE},
                                          {"capacity", "Capacity", Look::Number},
                                          {"block_size", "Block size", Look::Number},
                                          {"target_port_wwn", "Target", CODE},
                                          {"initiator_port_wwn", "Initiator", CODE},
                                          {"second_id", "Adapter"}};
const std::vector<PageColumn> VLAN_COLUMNS{
    {"vlan_id", "VLAN", Look::Number}, {"name", "Name"}, {"state", "State"}, {"second_id", "Adapter"}};

std::string TextOf(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

Json Cell(const std::string& text, Look look) {
    return {{"text", text}, {"number", look == Look::Number}, {"code", look == Look::Code}};
}

void AddTable(Json& tables, const char* title, Json&& columns, Json&& rows, bool open) {
    if (rows.empty())
        return;
    const std::string count = fmt::format("{} row{}", rows.size(), rows.size() == 1 ? "" : "s");
    tables.push_back({{"title", title},
                      {"count", count},
                      {"open", open},
                      {"columns", std::move(columns)},
                      {"rows", std::move(rows)}});
}

void AddList(Json& tables, const char* title, const std::vector<PageColumn>& columns,
             const std::vector<const Json*>& records) {
    constexpr std::size_t manyRows = 20;
    Json heads = Json::array();
    for (const PageColumn& column : columns)
        heads.push_back({{"name", column.title}, {"number", column.look == Look::Number}});
    Json rows = Json::array();
    for (const Json* record : records) {
        Json cells = Json::array();
        for (const PageColumn& column : columns)
            cells.push_back(Cell(TextOf(record->value(column.key, Json())), column.look));
        rows.push_back({{"cells", std::move(cells)}});
    }
    AddTable(tables, title, std::move(heads), std::move(rows), records.size() <= manyRows);
}

void Collect(std::vector<const Json*>& records, const Json& parent, const char* key) {
    for (const Json& record : parent[key])
        records.push_back(&record);
}

// The children of the records, and those of the adapters that have no parent.
std::vector<const Json*> Below(const std::vector<const Json*>& parents, const std::vector<const Json*>& adapters,
                               const char* key) {
    std::vector<const Json*> records;
    for (const Json* parent : parents)
        Collect(records, *parent, key);
    for (const Json* adapter : adapters)
        Collect(records, (*adapter)["without_parent"], key);
    return records;
}

// A row for each label, a column for each adapter, in the order in which they come.
void AddCounters(Json& tables, const Json& statistics) {
    std::vector<std::string> labels;
    std::vector<std::string> adapters;
    std::map<std::pair<std::string, std::string>, std::string> values;
    const auto once = [](std::vector<std::string>& texts, const std::string& text) {
        if (std::ranges::find(texts, text) == texts.end())
            texts.push_back(text);
    };
    for (const Json& record : statistics) {
        const std::string label = record.value("label", "");
        const std::string adapter = record.value("second_id", "");
        once(labels, label);
        once(adapters, adapter);
        values[{label, adapter}] = TextOf(record.value("value", Json()));
    }
    Json columns = Json::array({{{"name", "Counter"}, {"number", false}}});
    for (const std::string& adapter : adapters)
        columns.push_back({{"name", adapter}, {"number", true}});
    Json rows = Json::array();
    for (const std::string& label : labels) {
        Json cells = Json::array({Cell(label, Look::Text)});
        for (const std::string& adapter : adapters)
            cells.push_back(Cell(values[{label, adapter}], Look::Number));
        rows.push_back({{"cells", std::move(cells)}});
    }
    AddTable(tables, "Counters", std::move(columns), std::move(rows), true);
}

Json ListIn(const Json& document, const char* key) {
    return document.is_object() && document.contains(key) ? document[key] : Json::array();
}

} // namespace

Json PageTables(const ReportData& report) {
    const Json tree = ListIn(report.tree, "adapters");
    std::vector<const Json*> adapters;
    for (const Json& adapter : tree)
        adapters.push_back(&adapter);
    std::vector<const Json*> fabrics;
    for (const Json* adapter : adapters)
        Collect(fabrics, *adapter, "fabrics");
    const auto ports = Below(fabrics, adapters, "ports");
    const auto targets = Below(ports, adapters, "targets");
    const auto luns = Below(targets, adapters, "luns");
    const Json vlanList = ListIn(report.vlans, "vlans");
    std::vector<const Json*> vlans;
    for (const Json& vlan : vlanList)
        vlans.push_back(&vlan);

    Json tables = Json::array();
    AddList(tables, "Adapters", ADAPTER_COLUMNS, adapters);
    AddList(tables, "Ports", PORT_COLUMNS, ports);
    AddList(tables, "Targets", TARGET_COLUMNS, targets);
    AddList(tables, "LUNs", LUN_COLUMNS, luns);
    AddList(tables, "VLANs", VLAN_COLUMNS, vlans);
    AddCounters(tables, ListIn(report.statistics, "statistics"));
    return tables;
}

} // namespace fcoectl
