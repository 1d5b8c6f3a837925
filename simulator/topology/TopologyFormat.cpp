// The format of topology files: keys, defaults, limits and what must fit together.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include <windows.h>

#include "simulator/topology/AdapterParts.h"
#include "simulator/topology/Format.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

constexpr std::uint8_t MAX_PORT_TYPE = 3;
// Values that must not repeat, with the place of each one's first use.
class Unique {
  public:
    explicit Unique(std::string what) : m_what(std::move(what)) {}

    // key: the member that has the value, null: the object.
    void Add(Keys& keys, const char* key, const std::wstring& value) {
        std::wstring folded = value;
        CharUpperW(folded.data());
        const auto [first, added] = m_first.emplace(folded, keys.Pointer(key));
        if (!added)
            keys.Refuse(key, "the same " + m_what + " as " + first->second);
    }

  private:
    std::string m_what;
    std::map<std::wstring, std::string> m_first;
};

FcPort DefaultPort(const Adapter& adapter) {
    FcPort port;
    port.nodeWwn = adapter.port.nodeWwn;
    port.portWwn = adapter.port.portWwn;
    port.wordA = adapter.port.fcId;
    port.wordB = adapter.port.fcId;
    port.identifiers.fill(adapter.port.fabricName);
    port.word56 = 1;
    return port;
}

// Whether a port's World Wide Name is known.
bool DescribeFcPort(Keys& keys, FcPort& port) {
    const bool typed =
        keys.Number({"type", "0 or 1 physical, 2 or 3 virtual"}, port.type, {0, MAX_PORT_TYPE}) || !keys.Has("type");
    keys.WorldWideName({.name = "node_wwn", .about = "World Wide Node Name", .byDefault = "the adapter's"},
                       port.nodeWwn);
    keys.Rule(
        R"({"if": {"properties": {"type": {"anyOf": [{"enum": [2, 3]}, {"pattern": "^0[xX]0*[23]$", "type": "string"}]}},
        "required": ["type"]}, "then": {"required": ["port_wwn"]}})");
    const bool named = keys.WorldWideName({.name = "port_wwn",
                                           .about = "World Wide Port Name; a virtual port must have one",
                                           .required = port.IsVirtual(),
                                           .byDefault = "the adapter's"},
                                          port.portWwn);
    keys.Number({.name = "word_a", .about = "Word A, the port's FC address", .byDefault = "the adapter's FC id"},
                port.wordA);
    port.wordB = port.wordA;
    keys.Number({.name = "word_b",
                 .about = "Word B, for type 3 the FC address under which targets are listed for this port",
                 .byDefault = "word_a"},
                port.wordB);
    keys.Names(
        {.name = "identifiers", .about = "The three names at offsets 32, 40 and 48", .byDefault = "the fabric's name"},
        port.identifiers);
    keys.Number({"word_56", "Not 0: a physical port's fabric has a name"}, port.word56);
    keys.Number({"number", "Number of the port"}, port.number);
    keys.Number({"byte_62", "The byte at offset 62"}, port.byte62);
    return named || (typed && !port.IsVirtual() && !keys.Has("port_wwn"));
}

void DescribeLun(Keys& keys, Lun& lun, std::uint32_t place) {
    lun.osLun = place;
    keys.Number({.name = "os_lun", .about = "LUN number in the operating system", .byDefault = "its place, from 0"},
                lun.osLun);
    // The eight bytes of the FCP LUN as they lie in memory, in peripheral device addressing: the number is the second.
    lun.fcpLun = std::uint64_t(lun.osLun & 255) << 8;
    keys.Number({.name = "fcp_lun",
                 .about = "The 64-bit number that addresses it; unique in the target",
                 .byDefault = "os_lun x 256"},
                lun.fcpLun);
    keys.Text({"os_device_name", "Name of the disk in the operating system"}, lun.osDeviceName, LONG_TEXT);
    keys.Number({"blocks", "Number of blocks; the last one's address is one less"}, lun.blocks, {1});
    keys.Number({"block_length", "Bytes of a block"}, lun.blockLength);
    keys.Number({"read_capacity", "Layout in which ScsiReadCapacityV2 answers"}, lun.readCapacity, {10, 16, true});
    keys.Response({.name = "read_capacity_10",
                   .about = "Recorded READ CAPACITY (10) response: \"hex:\" and its bytes' digits, or a file",
                   .byDefault = "made from the size"},
                  lun.response10);
    keys.Response({.name = "read_capacity_16",
                   .about = "Recorded READ CAPACITY (16) response: \"hex:\" and its bytes' digits, or a file",
                   .byDefault = "made from the size"},
                  lun.response16);
    keys.Number({"check_conditions",
                 "So many capacity commands of a process end with a unit attention before the first good one"},
                lun.checkConditions);
}

void DescribeVlan(Keys& keys, Vlan& vlan) {
    keys.Number({"id", "VLAN identifier; 1 to 4094 are in use", true}, vlan.id);
    keys.Number({"state", "State; 1 is active"}, vlan.state);
}

void DescribeTarget(Keys& keys, Target& target, const Adapter& adapter, std::uint32_t& lunCount) {
    keys.Number({"bus", "SCSI bus"}, target.bus);
    target.target = static_cast<std::uint32_t>(adapter.targets.size());
    keys.Number({.name = "target", .about = "SCSI target", .byDefault = "its place, from 0"}, target.target);
    keys.WorldWideName({"port_wwn", "World Wide Port Name, to which SCSI commands go", true}, target.portWwn);
    target.nodeWwn = target.portWwn;
    keys.WorldWideName({.name = "node_wwn", .about = "World Wide Node Name", .byDefault = "port_wwn"}, target.nodeWwn);
    target.initiatorWwn = adapter.port.portWwn;
    keys.WorldWideName(
        {.name = "initiator_wwn", .about = "The FC port through which it is seen", .byDefault = "the adapter's port"},
        target.initiatorWwn);
    keys.Number({"initiator_type", "Type of that FC port"}, target.initiatorType, {0, MAX_PORT_TYPE});
    keys.Number({"fc_id", "Fibre Channel address"}, target.fcId);
    keys.Number({"number", "Number of the target"}, target.number);
    keys.Flag({"npiv", "Also seen through every virtual port of type 3"}, target.npiv);
    target.vendor = "ORVAN";
    keys.Text({"vendor", "Vendor in the INQUIRY data"}, target.vendor, 8);
    target.product = "SIMULATED DISK";
    keys.Text({"product", "Product in the INQUIRY data"}, target.product, 16);
    target.revision = "1.00";
    keys.Text({"revision", "Revision in the INQUIRY data"}, target.revision, 4);
    keys.Text({"serial", "Serial number in the vital product data"}, target.serial, 255);
    keys.Response({.name = "inquiry",
                   .about = "Recorded standard INQUIRY response: \"hex:\" and its bytes' digits, or a file",
                   .byDefault = "made from vendor, product and revision"},
                  target.inquiry);
    keys.Response({.name = "vpd_80",
                   .about = "Recorded unit serial number page: \"hex:\" and its bytes' digits, or a file",
                   .byDefault = "made from serial"},
                  target.vpd80);
    std::set<std::uint64_t> numbers;
    keys.List({"luns", "Its logical units"}, 65536, [&](Keys& entry) {
        Lun lun;
        lun.id = lunCount++;
        DescribeLun(entry, lun, static_cast<std::uint32_t>(target.luns.size()));
        if (!numbers.insert(lun.fcpLun).second)
            entry.Refuse(nullptr, "the same FCP LUN as another LUN of this target");
        target.luns.push_back(std::move(lun));
    });
}

// What the members of an adapter's list of ports must have among themselves.
void DescribeFcPorts(Keys& keys, Adapter& adapter) {
    Unique wwns("port WWN");
    const bool listed = keys.List({.name = "ports", .about = "The FC port list", .byDefault = "one physical port"},
                                  4096, [&](Keys& entry) {
                                      FcPort port = DefaultPort(adapter);
                                      if (DescribeFcPort(entry, port))
                                          wwns.Add(entry, nullptr, Wide(WwnText(port.portWwn)));
                                      adapter.ports.push_back(port);
                                  });
    if (!listed && !keys.Has("ports"))
        adapter.ports.push_back(DefaultPort(adapter));
}

class Description {
  public:
    explicit Description(Topology& topology) : m_topology(topology) {}

    void Describe(Keys& keys);

  private:
    void DescribeAdapter(Keys& keys, Adapter& adapter);
    void DescribeNames(Keys& keys, Adapter& adapter);

    Topology& m_topology;
    Unique m_identifiers{"identifier"};
    Unique m_libraryNames{"name in the library"};
};

void Description::Describe(Keys& keys) {
    std::string schema;
    keys.Text({"$schema", "The JSON Schema of this file, for editors; not read"}, schema);
    keys.Flag({"os_dcb", "WMI finds the operating system's own DCB"}, m_topology.osDcb);
    keys.List({"adapters", "The adapters", true}, MAX_ADAPTERS, [&](Keys& entry) {
        Adapter adapter;
        adapter.index = static_cast<std::uint32_t>(m_topology.adapters.size());
        DescribeAdapter(entry, adapter);
        m_topology.adapters.push_back(std::move(adapter));
    });
    keys.List({"faults", "What functions do wrong"}, SIZE_MAX, [&](Keys& entry) {
        Fault fault;
        sim::Describe(entry, fault, m_topology);
        m_topology.faults.push_back(fault);
    });
    DescribeTimeline(keys, m_topology.timeline, false);
    keys.List({"answers", "What functions answered when they were recorded"}, SIZE_MAX, [&](Keys& entry) {
        Answer answer;
        sim::Describe(entry, answer, m_topology);
        m_topology.answers.push_back(std::move(answer));
    });
}

void Description::DescribeNames(Keys& keys, Adapter& adapter) {
    if (keys.Guid({"identifier", "GUID in braces, unique; the adapter's name in the core agent", true},
                  adapter.identifier))
        m_identifiers.Add(keys, "identifier", Wide(adapter.identifier));
    adapter.displayName = "ORVAN FCoE Adapter " + std::to_string(adapter.index + 1);
    keys.Text({.name = "display_name",
               .about = "The core agent's display name",
               .byDefault = "ORVAN FCoE Adapter and its place, from 1"},
              adapter.displayName);
    keys.Mac({"mac", "Permanent address", true}, adapter.mac);
    adapter.interfaceIndex = adapter.index + 1;
    keys.Number(
        {.name = "interface_index", .about = "The core agent's interface index", .byDefault = "its place, from 1"},
        adapter.interfaceIndex);
    keys.Flag({"supports_fcoe", "What the core agent answers; the vendor library knows only adapters that do"},
              adapter.supportsFcoe);
    adapter.libraryName = "com.orvan-FCoE-" + std::to_string(adapter.index);
    const bool named = keys.Text({.name = "library_name",
                                  .about = "Name in the vendor library, unique",
                                  .byDefault = "com.orvan-FCoE- and its place, from 0"},
                                 adapter.libraryName, NAME_TEXT);
    if (named || !keys.Has("library_name"))
        m_libraryNames.Add(keys, named ? "library_name" : "identifier", Wide(adapter.libraryName));
    adapter.controller = adapter.index;
    keys.Number({.name = "controller", .about = "Controller number", .byDefault = "its place, from 0"},
                adapter.controller);
}

void Description::DescribeAdapter(Keys& keys, Adapter& adapter) {
    DescribeNames(keys, adapter);
    bool portsCounted = false;
    keys.Object({"port", "HBA_PORTATTRIBUTES of port 0", true},
                [&](Keys& port) { portsCounted = DescribePort(port, adapter.port); });
    keys.Object({"attributes", "HBA_ADAPTERATTRIBUTES"},
                [&](Keys& attributes) { DescribeAttributes(attributes, adapter.attributes); });
    keys.Object({"statistics", "HBA_PORTSTATISTICS; -1 is a counter that the adapter does not support"},
                [&](Keys& counters) { DescribeCounters(counters, adapter.statistics.values, INT64_MIN); });
    keys.Object({"statistics_per_second", "What a counter grows by per second since the system started"},
                [&](Keys& counters) { DescribeCounters(counters, adapter.statistics.perSecond, 0); });
    adapter.properties.nodeWwn = adapter.port.nodeWwn;
    adapter.properties.portWwn = adapter.port.portWwn;
    adapter.properties.mac = adapter.mac;
    adapter.properties.networkInstance = "\\DEVICE\\" + adapter.identifier;
    keys.Object({"properties", "ORVAN_FC_NIC_PROPERTIES"},
                [&](Keys& properties) { DescribeProperties(properties, adapter.properties); });
    keys.Object({"pci", "Where its device is"}, [&](Keys& pci) { DescribePci(pci, adapter.pci); });
    DescribeFcPorts(keys, adapter);
    keys.Number({"max_virtual_ports", "Virtual ports of the topology count too"}, adapter.maxVirtualPorts, {0, 4096});
    keys.List({"targets", "What it reaches"}, 65536, [&](Keys& entry) {
        Target target;
        DescribeTarget(entry, target, adapter, m_topology.lunCount);
        adapter.targets.push_back(std::move(target));
    });
    if (!portsCounted)
        adapter.port.discoveredPorts = static_cast<std::uint32_t>(adapter.targets.size());
    keys.List({"vlans", "Its VLANs"}, 65536, [&](Keys& entry) {
        Vlan vlan;
        DescribeVlan(entry, vlan);
        adapter.vlans.push_back(vlan);
    });
    keys.Object({"dcb", "What the DCB service answers: the HRESULT of each call and its output"},
                [&](Keys& dcb) { DescribeDcb(dcb, adapter.dcb); });
}

} // namespace

bool IsBracedGuid(std::string_view text) {
    constexpr std::string_view SHAPE = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    if (text.size() != SHAPE.size())
        return false;
    for (std::size_t i = 0; i < SHAPE.size(); ++i) {
        if (SHAPE[i] == 'x' ? !std::isxdigit(static_cast<unsigned char>(text[i])) : text[i] != SHAPE[i])
            return false;
    }
    return true;
}

void Describe(Keys& keys, Topology& topology) {
    Description(topology).Describe(keys);
}

} // namespace sim
