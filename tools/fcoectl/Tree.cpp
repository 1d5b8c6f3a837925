#include "tools/fcoectl/Tree.h"

#include <map>
#include <tuple>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/reading/Records.h"

namespace fcoectl {
namespace {

using Text = std::wstring;

constexpr ULONG FABRIC_PHYSICAL = 0;
constexpr ULONG PORT_LAST_PHYSICAL = 1;   // types 0 and 1
constexpr ULONG PORT_WITH_FC_ADDRESS = 3; // told apart by word B as well

// A port names its fabric; the kind tells a physical fabric from a virtual one of the same name.
using FabricKey = std::tuple<Text, Text, bool>;

FabricKey KeyOf(const QEL_FCOE_FABRIC& fabric) {
    return {fabric.strDeviceId, fabric.strName, fabric.ulKind == FABRIC_PHYSICAL};
}
FabricKey ParentOf(const QEL_FCOE_PORT& port) {
    return {port.strDeviceId, port.strFabricName, port.ulPortType <= PORT_LAST_PHYSICAL};
}

// A target carries its port's third WWN, and as initiator the port's own; of several ports of type 3 with one WWN the
// target's FC address tells which.
using PortKey = std::tuple<Text, Text, Text, Text, ULONG, ULONG>;

PortKey KeyOf(const QEL_FCOE_PORT& port) {
    return {port.strDeviceId, port.strFabricName, port.strWWN3,
            port.strPortWWN,  port.ulPortType,    port.ulPortType == PORT_WITH_FC_ADDRESS ? port.ulWordB : 0};
}
PortKey ParentOf(const QEL_FCOE_TARGET& target) {
    return {target.strDeviceId,      target.strFabricName,
            target.strOwningPortWWN, target.strInitiatorPortWWN,
            target.ulPortType,       target.ulPortType == PORT_WITH_FC_ADDRESS ? target.ulFcId : 0};
}

using TargetKey = std::tuple<Text, Text, Text, Text, Text>;

TargetKey KeyOf(const QEL_FCOE_TARGET& target) {
    return {target.strDeviceId, target.strFabricName, target.strOwningPortWWN, target.strInitiatorPortWWN,
            target.strPortWWN};
}
TargetKey ParentOf(const QEL_FCOE_LUN& lun) {
    return {lun.strDeviceId, lun.strFabricName, lun.strOwningPortWWN, lun.strInitiatorPortWWN, lun.strTargetPortWWN};
}

// Where each key was first seen, by index: parents are found without walking the lists again for every child.
template <class Key, class Record> std::map<Key, std::size_t> IndexOf(const std::vector<Record>& records) {
    std::map<Key, std::size_t> index;
    for (std::size_t i = 0; i < records.size(); ++i)
        index.emplace(KeyOf(records[i]), i);
    return index;
}

// The tree is built from the leaves up, so that a node is complete before it moves into its parent.
class Builder {
  public:
    explicit Builder(const Lists& lists) : m_lists(lists) {
        for (const auto& hba : lists.hbas) {
            m_adapters.push_back({hba, {}, {}, {}, {}});
            m_adapterOf.emplace(hba.strDeviceId, m_adapters.size() - 1);
        }
    }

    std::vector<AdapterNode> Build() {
        std::vector<TargetNode> targets = Nodes<TargetNode>(m_lists.targets);
        std::vector<PortNode> ports = Nodes<PortNode>(m_lists.ports);
        std::vector<FabricNode> fabrics = Nodes<FabricNode>(m_lists.fabrics);
        Place(m_lists.luns, IndexOf<TargetKey>(m_lists.targets), targets, &TargetNode::luns, &AdapterNode::luns);
        Place(std::move(targets), IndexOf<PortKey>(m_lists.ports), ports, &PortNode::targets, &AdapterNode::targets);
        auto fabricOf = IndexOf<FabricKey>(m_lists.fabrics);
        // Ports that were read before their fabric had its name carry none; an adapter has one fabric of each kind.
        for (std::size_t i = 0; i < fabrics.size(); ++i)
            fabricOf.emplace(FabricKey{fabrics[i].record.strDeviceId, {}, std::get<bool>(KeyOf(fabrics[i].record))}, i);
        Place(std::move(ports), fabricOf, fabrics, &FabricNode::ports, &AdapterNode::ports);
        for (FabricNode& fabric : fabrics)
            AdapterOf(fabric.record).fabrics.push_back(std::move(fabric));
        return std::move(m_adapters);
    }

  private:
    static const QEL_FCOE_LUN& RecordOf(const QEL_FCOE_LUN& lun) { return lun; }
    template <class Node> static const auto& RecordOf(const Node& node) { return node.record; }

    template <class Node, class Record> static std::vector<Node> Nodes(const std::vector<Record>& records) {
        std::vector<Node> nodes;
        for (const Record& record : records)
            nodes.push_back({record, {}});
        return nodes;
    }

    template <class Key, class Child, class Parent>
    void Place(std::vector<Child> children, const std::map<Key, std::size_t>& index, std::vector<Parent>& parents,
               std::vector<Child> Parent::*below, std::vector<Child> AdapterNode::*withoutParent) {
        for (Child& child : children) {
            const auto found = index.find(ParentOf(RecordOf(child)));
            auto& list =
                found == index.end() ? AdapterOf(RecordOf(child)).*withoutParent : parents[found->second].*below;
            list.push_back(std::move(child));
        }
    }

    template <class Record> AdapterNode& AdapterOf(const Record& record) {
        const auto [at, added] = m_adapterOf.emplace(record.strDeviceId, m_adapters.size());
        if (added) {
            QEL_FCOE_HBA hba;
            hba.strDeviceId = record.strDeviceId;
            hba.strSecondId = record.strSecondId;
            m_adapters.push_back({std::move(hba), {}, {}, {}, {}});
        }
        return m_adapters[at->second];
    }

    const Lists& m_lists;
    std::vector<AdapterNode> m_adapters;
    std::map<Text, std::size_t> m_adapterOf;
};

struct Drawing {
    const char* branch;
    const char* lastBranch;
    const char* trunk;
};

constexpr Drawing BOXES{"├─ ", "└─ ", "│  "};
constexpr Drawing ASCII{"|- ", "`- ", "|  "};

// What is drawn.
struct Label {
    std::string text;
    std::vector<Label> children;
};

// Joined by two blanks, without the blanks that fill up vendor names; empty parts are left out.
std::string Join(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts) {
        const std::string text = Printable(part.substr(0, part.find_last_not_of(' ') + 1));
        if (text.empty())
            continue;
        if (!joined.empty())
            joined += "  ";
        joined += text;
    }
    return joined.empty() ? "-" : joined;
}

Label LabelOf(const QEL_FCOE_LUN& lun) {
    return {Join({fmt::format("LUN {}", lun.ulOsLun), ToUtf8(lun.strOsDeviceName), ToUtf8(lun.strCapacity)}), {}};
}

template <class Child> void AddLabels(Label& label, const std::vector<Child>& children);

Label LabelOf(const TargetNode& node) {
    Label label{
        Join({"Target", ToUtf8(node.record.strPortWWN), ToUtf8(node.record.strVendor), ToUtf8(node.record.strSerial)}),
        {}};
    AddLabels(label, node.luns);
    return label;
}

Label LabelOf(const PortNode& node) {
    Label label{Join({ToUtf8(node.record.strKind), ToUtf8(node.record.strPortWWN)}), {}};
    AddLabels(label, node.targets);
    return label;
}

Label LabelOf(const FabricNode& node) {
    Label label{Join({node.record.strName.empty() ? "Fabric without a name" : ToUtf8(node.record.strName),
                      ToUtf8(node.record.strKind)}),
                {}};
    AddLabels(label, node.ports);
    return label;
}

Label LabelOf(const AdapterNode& node) {
    Label label{
        Join({ToUtf8(node.record.strSecondId), ToUtf8(node.record.strDeviceId), ToUtf8(node.record.strFcoeLinkStatus)}),
        {}};
    AddLabels(label, node.fabrics);
    Label lost{"Without a parent in the lists", {}};
    AddLabels(lost, node.ports);
    AddLabels(lost, node.targets);
    AddLabels(lost, node.luns);
    if (!lost.children.empty())
        label.children.push_back(std::move(lost));
    return label;
}

template <class Child> void AddLabels(Label& label, const std::vector<Child>& children) {
    for (const Child& child : children)
        label.children.push_back(LabelOf(child));
}

void Draw(const Label& label, const std::string& indent, const Drawing& drawing, std::string& text) {
    text += label.text + '\n';
    for (const Label& child : label.children) {
        const bool last = &child == &label.children.back();
        text += indent + (last ? drawing.lastBranch : drawing.branch);
        Draw(child, indent + (last ? "   " : drawing.trunk), drawing, text);
    }
}

using Json = nlohmann::ordered_json;

template <class Node> Json ListToJson(const std::vector<Node>& nodes);

Json NodeToJson(const QEL_FCOE_LUN& lun) {
    return ToJson(lun);
}
Json NodeToJson(const TargetNode& node) {
    Json object = ToJson(node.record);
    object["luns"] = ListToJson(node.luns);
    return object;
}
Json NodeToJson(const PortNode& node) {
    Json object = ToJson(node.record);
    object["targets"] = ListToJson(node.targets);
    return object;
}
Json NodeToJson(const FabricNode& node) {
    Json object = ToJson(node.record);
    object["ports"] = ListToJson(node.ports);
    return object;
}
Json NodeToJson(const AdapterNode& node) {
    Json object = ToJson(node.record);
    object["fabrics"] = ListToJson(node.fabrics);
    object["without_parent"] = {
        {"ports", ListToJson(node.ports)}, {"targets", ListToJson(node.targets)}, {"luns", ListToJson(node.luns)}};
    return object;
}

template <class Node> Json ListToJson(const std::vector<Node>& nodes) {
    Json list = Json::array();
    for (const Node& node : nodes)
        list.push_back(NodeToJson(node));
    return list;
}

} // namespace

std::vector<AdapterNode> BuildTree(const Lists& lists) {
    return Builder(lists).Build();
}

std::string DrawTree(const std::vector<AdapterNode>& adapters, bool ascii) {
    std::string text;
    for (const AdapterNode& adapter : adapters)
        Draw(LabelOf(adapter), "", ascii ? ASCII : BOXES, text);
    return text;
}

nlohmann::ordered_json TreeToJson(const std::vector<AdapterNode>& adapters) {
    return ListToJson(adapters);
}

} // namespace fcoectl
