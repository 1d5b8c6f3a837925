// From JSON to the topology's structures: defaults, limits and what must fit together.
#include <algorithm>
#include <map>
#include <set>

#include <windows.h>

#include "simulator/topology/FaultReader.h"
#include "simulator/topology/HexFile.h"
#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

// The texts of the SNIA records have fixed arrays; one that fills its array has no terminator.
constexpr std::size_t SHORT_TEXT = 64;
constexpr std::size_t LONG_TEXT = 256;
constexpr std::size_t NAME_TEXT = 259; // the vendor's name buffers hold 260 with the terminator

constexpr std::uint8_t MAX_PORT_TYPE = 3;
// What one capacity or INQUIRY response can reach.
constexpr std::size_t MAX_RESPONSE = 65535;

constexpr const char* COUNTER_KEYS[COUNTER_COUNT] = {"seconds_since_last_reset",
                                                     "tx_frames",
                                                     "tx_words",
                                                     "rx_frames",
                                                     "rx_words",
                                                     "lip_count",
                                                     "nos_count",
                                                     "error_frames",
                                                     "dumped_frames",
                                                     "link_failure_count",
                                                     "loss_of_sync_count",
                                                     "loss_of_signal_count",
                                                     "primitive_seq_protocol_err_count",
                                                     "invalid_tx_word_count",
                                                     "invalid_crc_count"};

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

// Values that must not repeat, with the place of each one's first use.
class Unique {
  public:
    explicit Unique(std::string what) : m_what(std::move(what)) {}

    void Add(const JsonValue& value, const std::wstring& key) {
        std::wstring folded = key;
        CharUpperW(folded.data());
        const auto [first, added] = m_first.emplace(folded, value.Pointer());
        if (!added)
            value.Fail("the same " + m_what + " as " + first->second);
    }

  private:
    std::string m_what;
    std::map<std::wstring, std::string> m_first;
};

class Reader {
  public:
    Reader(const std::filesystem::path& folder, Topology& topology) : m_folder(folder), m_topology(topology) {}

    void ReadTopology(const JsonValue& document) {
        JsonObject object(document);
        object.Read("os_dcb", m_topology.osDcb);
        for (const auto& value : object.Require("adapters").Array(MAX_ADAPTERS))
            m_topology.adapters.push_back(ReadAdapter(value));
        if (const auto faults = object.Find("faults")) {
            for (const auto& value : faults->Array())
                m_topology.faults.push_back(ReadFault(value, m_topology));
        }
        object.Finish();
    }

  private:
    Adapter ReadAdapter(const JsonValue& value);
    void ReadAttributes(JsonObject object, AdapterAttributes& attributes);
    void ReadPort(JsonObject object, PortAttributes& port);
    void ReadCounters(JsonObject object, std::array<std::int64_t, COUNTER_COUNT>& counters, std::int64_t min);
    void ReadProperties(JsonObject object, FcNicProperties& properties);
    void ReadPci(JsonObject object, PciLocation& pci);
    void ReadDcb(JsonObject object, Dcb& dcb);
    FcPort ReadFcPort(const JsonValue& value, const Adapter& adapter);
    Target ReadTarget(const JsonValue& value, const Adapter& adapter, std::uint32_t place);
    Lun ReadLun(const JsonValue& value, std::uint32_t place);
    Vlan ReadVlan(const JsonValue& value);
    void ReadResponse(JsonObject& object, const char* key, std::vector<std::uint8_t>& bytes);
    FcPort DefaultPort(const Adapter& adapter);

    std::filesystem::path m_folder;
    Topology& m_topology;
    Unique m_identifiers{"identifier"};
    Unique m_libraryNames{"name in the library"};
};

Adapter Reader::ReadAdapter(const JsonValue& value) {
    JsonObject object(value);
    Adapter adapter;
    adapter.index = static_cast<std::uint32_t>(m_topology.adapters.size());

    const auto identifier = object.Require("identifier");
    adapter.identifier = identifier.Text();
    if (!IsBracedGuid(adapter.identifier))
        identifier.FailExpected("a GUID in braces");
    m_identifiers.Add(identifier, Wide(adapter.identifier));

    adapter.displayName = "ORVAN FCoE Adapter " + std::to_string(adapter.index + 1);
    object.Read("display_name", adapter.displayName);
    adapter.mac = object.Require("mac").Mac();
    adapter.interfaceIndex = adapter.index + 1;
    object.ReadNumber("interface_index", adapter.interfaceIndex);
    object.Read("supports_fcoe", adapter.supportsFcoe);

    adapter.libraryName = "com.orvan-FCoE-" + std::to_string(adapter.index);
    object.Read("library_name", adapter.libraryName, NAME_TEXT);
    m_libraryNames.Add(object.Find("library_name").value_or(identifier), Wide(adapter.libraryName));
    adapter.controller = adapter.index;
    object.ReadNumber("controller", adapter.controller);

    ReadPort(JsonObject(object.Require("port")), adapter.port);
    if (const auto found = object.Find("attributes"))
        ReadAttributes(JsonObject(*found), adapter.attributes);
    if (const auto found = object.Find("statistics"))
        ReadCounters(JsonObject(*found), adapter.statistics.values, INT64_MIN);
    if (const auto found = object.Find("statistics_per_second"))
        ReadCounters(JsonObject(*found), adapter.statistics.perSecond, 0);

    adapter.properties.nodeWwn = adapter.port.nodeWwn;
    adapter.properties.portWwn = adapter.port.portWwn;
    adapter.properties.mac = adapter.mac;
    adapter.properties.networkInstance = "\\DEVICE\\" + adapter.identifier;
    if (const auto found = object.Find("properties"))
        ReadProperties(JsonObject(*found), adapter.properties);
    if (const auto found = object.Find("pci"))
        ReadPci(JsonObject(*found), adapter.pci);

    if (const auto found = object.Find("ports")) {
        Unique wwns("port WWN");
        for (const auto& port : found->Array(4096)) {
            adapter.ports.push_back(ReadFcPort(port, adapter));
            wwns.Add(port, Wide(WwnText(adapter.ports.back().portWwn)));
        }
    } else {
        adapter.ports.push_back(DefaultPort(adapter));
    }
    object.ReadNumber("max_virtual_ports", adapter.maxVirtualPorts, 4096);

    if (const auto found = object.Find("targets")) {
        for (const auto& target : found->Array(65536))
            adapter.targets.push_back(ReadTarget(target, adapter, static_cast<std::uint32_t>(adapter.targets.size())));
    }
    const auto port = JsonObject(object.Require("port")).Find("discovered_ports");
    if (!port)
        adapter.port.discoveredPorts = static_cast<std::uint32_t>(adapter.targets.size());
    if (const auto found = object.Find("vlans")) {
        for (const auto& vlan : found->Array(65536))
            adapter.vlans.push_back(ReadVlan(vlan));
    }
    if (const auto found = object.Find("dcb"))
        ReadDcb(JsonObject(*found), adapter.dcb);
    object.Finish();
    return adapter;
}

void Reader::ReadAttributes(JsonObject object, AdapterAttributes& attributes) {
    object.Read("manufacturer", attributes.manufacturer, SHORT_TEXT);
    object.Read("serial_number", attributes.serialNumber, SHORT_TEXT);
    object.Read("model", attributes.model, LONG_TEXT);
    object.Read("model_description", attributes.modelDescription, LONG_TEXT);
    object.Read("node_symbolic_name", attributes.nodeSymbolicName, LONG_TEXT);
    object.Read("hardware_version", attributes.hardwareVersion, LONG_TEXT);
    object.Read("driver_version", attributes.driverVersion, LONG_TEXT);
    object.Read("option_rom_version", attributes.optionRomVersion, LONG_TEXT);
    object.Read("firmware_version", attributes.firmwareVersion, LONG_TEXT);
    object.ReadNumber("vendor_specific_id", attributes.vendorSpecificId);
    object.ReadNumber("number_of_ports", attributes.numberOfPorts);
    object.Read("driver_name", attributes.driverName, LONG_TEXT);
    object.Finish();
}

void Reader::ReadPort(JsonObject object, PortAttributes& port) {
    port.nodeWwn = object.Require("node_wwn").WorldWideName();
    port.portWwn = object.Require("port_wwn").WorldWideName();
    object.ReadNumber("fc_id", port.fcId);
    object.ReadNumber("type", port.type);
    object.ReadNumber("state", port.state);
    object.ReadNumber("classes_of_service", port.classesOfService);
    object.ReadNumber("supported_speed", port.supportedSpeed);
    object.ReadNumber("speed", port.speed);
    object.ReadNumber("max_frame_size", port.maxFrameSize);
    object.Read("symbolic_name", port.symbolicName, LONG_TEXT);
    object.Read("os_device_name", port.osDeviceName, LONG_TEXT);
    object.Read("fabric_name", port.fabricName);
    object.ReadNumber("discovered_ports", port.discoveredPorts);
    object.Finish();
}

void Reader::ReadCounters(JsonObject object, std::array<std::int64_t, COUNTER_COUNT>& counters, std::int64_t min) {
    for (std::size_t i = 0; i < COUNTER_COUNT; ++i) {
        if (const auto found = object.Find(COUNTER_KEYS[i]))
            counters[i] = found->Signed(min, INT64_MAX);
    }
    object.Finish();
}

void Reader::ReadProperties(JsonObject object, FcNicProperties& properties) {
    object.Read("node_wwn", properties.nodeWwn);
    object.Read("port_wwn", properties.portWwn);
    if (const auto mac = object.Find("mac"))
        properties.mac = mac->Mac();
    object.Read("network_instance", properties.networkInstance, NAME_TEXT);
    object.Read("remote_booted", properties.remoteBooted);
    object.Read("remote_page_file", properties.remotePageFile);
    object.Finish();
}

void Reader::ReadPci(JsonObject object, PciLocation& pci) {
    object.ReadNumber("bus", pci.bus, 255);
    object.ReadNumber("device", pci.device, 31);
    object.ReadNumber("function", pci.function, 7);
    object.Finish();
}

void Reader::ReadDcb(JsonObject object, Dcb& dcb) {
    if (const auto enabled = object.Find("enabled"))
        dcb.enabled = static_cast<std::int32_t>(enabled->Signed(INT32_MIN, INT32_MAX));
    object.ReadNumber("config_hresult", dcb.configHresult);
    object.ReadNumber("app_hresult", dcb.appHresult);
    object.ReadNumber("priority_bitmap", dcb.priorityBitmap);
    object.ReadNumber("pfc_hresult", dcb.pfcHresult);
    if (const auto pfc = object.Find("pfc")) {
        const auto values = pfc->Array();
        if (values.size() != dcb.pfc.size())
            pfc->Fail("expected a list of 8 numbers, one for each priority");
        for (std::size_t i = 0; i < values.size(); ++i)
            dcb.pfc[i] = static_cast<std::int32_t>(values[i].Signed(INT32_MIN, INT32_MAX));
    }
    object.Finish();
}

FcPort Reader::DefaultPort(const Adapter& adapter) {
    FcPort port;
    port.nodeWwn = adapter.port.nodeWwn;
    port.portWwn = adapter.port.portWwn;
    port.wordA = adapter.port.fcId;
    port.wordB = adapter.port.fcId;
    port.identifiers.fill(adapter.port.fabricName);
    port.word56 = 1;
    return port;
}

FcPort Reader::ReadFcPort(const JsonValue& value, const Adapter& adapter) {
    JsonObject object(value);
    FcPort port = DefaultPort(adapter);
    object.ReadNumber("type", port.type, MAX_PORT_TYPE);
    object.Read("node_wwn", port.nodeWwn);
    if (port.IsVirtual())
        port.portWwn = object.Require("port_wwn").WorldWideName();
    else
        object.Read("port_wwn", port.portWwn);
    object.ReadNumber("word_a", port.wordA);
    port.wordB = port.wordA;
    object.ReadNumber("word_b", port.wordB);
    if (const auto identifiers = object.Find("identifiers")) {
        const auto values = identifiers->Array();
        if (values.size() != port.identifiers.size())
            identifiers->Fail("expected a list of 3 World Wide Names");
        for (std::size_t i = 0; i < values.size(); ++i)
            port.identifiers[i] = values[i].WorldWideName();
    }
    object.ReadNumber("word_56", port.word56);
    object.ReadNumber("number", port.number);
    object.ReadNumber("byte_62", port.byte62);
    object.Finish();
    return port;
}

Target Reader::ReadTarget(const JsonValue& value, const Adapter& adapter, std::uint32_t place) {
    JsonObject object(value);
    Target target;
    object.ReadNumber("bus", target.bus);
    target.target = place;
    object.ReadNumber("target", target.target);
    target.portWwn = object.Require("port_wwn").WorldWideName();
    target.nodeWwn = target.portWwn;
    object.Read("node_wwn", target.nodeWwn);
    target.initiatorWwn = adapter.port.portWwn;
    object.Read("initiator_wwn", target.initiatorWwn);
    object.ReadNumber("initiator_type", target.initiatorType, MAX_PORT_TYPE);
    object.ReadNumber("fc_id", target.fcId);
    object.ReadNumber("number", target.number);
    object.Read("npiv", target.npiv);
    target.vendor = "ORVAN";
    object.Read("vendor", target.vendor, 8);
    target.product = "SIMULATED DISK";
    object.Read("product", target.product, 16);
    target.revision = "1.00";
    object.Read("revision", target.revision, 4);
    object.Read("serial", target.serial, 255);
    ReadResponse(object, "inquiry", target.inquiry);
    ReadResponse(object, "vpd_80", target.vpd80);
    if (const auto luns = object.Find("luns")) {
        std::set<std::uint64_t> numbers;
        for (const auto& lun : luns->Array(65536)) {
            target.luns.push_back(ReadLun(lun, static_cast<std::uint32_t>(target.luns.size())));
            if (!numbers.insert(target.luns.back().fcpLun).second)
                lun.Fail("the same FCP LUN as another LUN of this target");
        }
    }
    object.Finish();
    return target;
}

Lun Reader::ReadLun(const JsonValue& value, std::uint32_t place) {
    JsonObject object(value);
    Lun lun;
    lun.id = m_topology.lunCount++;
    lun.osLun = place;
    object.ReadNumber("os_lun", lun.osLun);
    // The eight bytes of the FCP LUN as they lie in memory, in peripheral device addressing: the number is the second.
    lun.fcpLun = std::uint64_t(lun.osLun & 255) << 8;
    object.ReadNumber("fcp_lun", lun.fcpLun);
    object.Read("os_device_name", lun.osDeviceName, LONG_TEXT);
    if (const auto blocks = object.Find("blocks"))
        lun.blocks = blocks->Unsigned(1, UINT64_MAX);
    object.ReadNumber("block_length", lun.blockLength);
    if (const auto layout = object.Find("read_capacity")) {
        lun.readCapacity = static_cast<unsigned>(layout->Unsigned(10, 16));
        if (lun.readCapacity != 10 && lun.readCapacity != 16)
            layout->FailExpected("10 or 16");
    }
    ReadResponse(object, "read_capacity_10", lun.response10);
    ReadResponse(object, "read_capacity_16", lun.response16);
    object.ReadNumber("check_conditions", lun.checkConditions);
    object.Finish();
    return lun;
}

Vlan Reader::ReadVlan(const JsonValue& value) {
    JsonObject object(value);
    Vlan vlan;
    vlan.id = static_cast<std::uint16_t>(object.Require("id").Unsigned(0, 65535));
    object.ReadNumber("state", vlan.state);
    object.Finish();
    return vlan;
}

void Reader::ReadResponse(JsonObject& object, const char* key, std::vector<std::uint8_t>& bytes) {
    const auto found = object.Find(key);
    if (!found)
        return;
    const std::filesystem::path file = Wide(found->Text());
    try {
        bytes = ReadHexFile(file.is_absolute() ? file : m_folder / file);
    } catch (const TopologyError& error) {
        found->Fail(error.what());
    }
    if (bytes.size() > MAX_RESPONSE)
        found->Fail("the response is longer than " + std::to_string(MAX_RESPONSE) + " bytes");
}

} // namespace

Topology ParseTopology(std::string_view text, const std::string& name, const std::filesystem::path& folder) {
    const nlohmann::json document = ParseJson(text, name);
    Topology topology;
    Reader(folder, topology).ReadTopology(JsonValue(document, name));
    return topology;
}

} // namespace sim
