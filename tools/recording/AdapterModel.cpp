#include "tools/recording/AdapterModel.h"

#include <algorithm>

#include "FcoeAgent/OrvanDcb.h"
#include "tools/recording/RecordWriter.h"
#include "tools/recording/Texts.h"

namespace recording {
namespace {

constexpr const char* COUNTERS[] = {"seconds_since_last_reset",
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
static_assert(std::size(COUNTERS) * sizeof(HBA_INT64) == sizeof(HBA_PORTSTATISTICS));

template <class Record> Reply Good(const Record& record) {
    Reply reply;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
    reply.data.assign(bytes, bytes + sizeof record);
    return reply;
}

} // namespace

AdapterModel::AdapterModel(const Journal& journal, const AdapterFacts& facts) : m_journal(journal), m_facts(facts) {
    DescribeNames();
    DescribePort();
    DescribeAttributes();
    DescribeStatistics();
    DescribeProperties();
    DescribePci();
    DescribePorts();
    DescribeTargets();
    DescribeVlans();
    DescribeDcb();
}

const std::vector<Run>* AdapterModel::Runs(const Request& request) const {
    const auto found = m_journal.replies.find(request);
    return found == m_journal.replies.end() ? nullptr : &found->second;
}

const Reply* AdapterModel::LastGood(const char* function, std::size_t size) const {
    const auto* const runs = Runs({.function = function, .adapter = m_facts.identifier});
    if (!runs)
        return nullptr;
    const auto found = std::find_if(runs->rbegin(), runs->rend(), [&](const Run& run) {
        return run.reply.IsGood() && run.reply.data.size() == size;
    });
    return found == runs->rend() ? nullptr : &found->reply;
}

template <class Record> std::optional<Record> AdapterModel::LastRecord(const char* function) const {
    const Reply* const reply = LastGood(function, sizeof(Record));
    if (!reply)
        return std::nullopt;
    Record record;
    std::memcpy(&record, reply->data.data(), sizeof record);
    return record;
}

void AdapterModel::DescribeNames() {
    m_json["identifier"] = m_facts.identifier;
    m_json["display_name"] = m_facts.displayName;
    auto address = ParseGroups(m_facts.address, 6);
    const auto properties = LastRecord<ORVAN_FC_NIC_PROPERTIES>("ORVAN_GetFCAndNICProperties");
    if (!address && properties)
        address.emplace(std::begin(properties->MacAddress), std::end(properties->MacAddress));
    m_json["mac"] = Groups(address.value_or(Bytes(6)));
    m_json["interface_index"] = m_facts.interfaceIndex;
    m_json["supports_fcoe"] = m_facts.supportsFcoe;
    if (const Reply* const info = LastGood("ORVAN_GetFCoEControllerInfo", ORVAN_NAME_SIZE)) {
        const std::string_view whole(reinterpret_cast<const char*>(info->data.data()), info->data.size());
        const std::string name = FromAnsi(whole.substr(0, std::min(whole.find('\0'), whole.size() - 1)));
        m_json["library_name"] = name;
        Reply expected;
        expected.data.assign(ORVAN_NAME_SIZE, 0);
        const std::string ansi = ToAnsi(name);
        std::copy_n(ansi.begin(), std::min(ansi.size(), ORVAN_NAME_SIZE - 1), expected.data.begin());
        expected.controller = info->controller;
        if (info->controller)
            m_json["controller"] = *info->controller;
        m_records["ORVAN_GetFCoEControllerInfo"] = expected;
    }
}

void AdapterModel::DescribePort() {
    Json port = Json::object();
    if (const auto from = LastRecord<HBA_PORTATTRIBUTES>("GetAdapterPortAttributes")) {
        HBA_PORTATTRIBUTES to{};
        RecordWriter writer(port);
        writer.Wwn("node_wwn", from->NodeWWN, to.NodeWWN);
        writer.Wwn("port_wwn", from->PortWWN, to.PortWWN);
        writer.Number("fc_id", from->PortFcId, to.PortFcId);
        writer.Number("type", from->PortType, to.PortType);
        writer.Number("state", from->PortState, to.PortState);
        writer.Number("classes_of_service", from->PortSupportedClassofService, to.PortSupportedClassofService);
        writer.Number("supported_speed", from->PortSupportedSpeed, to.PortSupportedSpeed);
        writer.Number("speed", from->PortSpeed, to.PortSpeed);
        writer.Number("max_frame_size", from->PortMaxFrameSize, to.PortMaxFrameSize);
        writer.Text("symbolic_name", from->PortSymbolicName, to.PortSymbolicName);
        writer.Text("os_device_name", from->OSDeviceName, to.OSDeviceName);
        writer.Wwn("fabric_name", from->FabricName, to.FabricName);
        writer.Number("discovered_ports", from->NumberofDiscoveredPorts, to.NumberofDiscoveredPorts);
        to.PortSupportedFc4Types.bits[2] = 1;
        to.PortActiveFc4Types.bits[2] = 1;
        m_records["GetAdapterPortAttributes"] = Good(to);
        m_node = from->NodeWWN;
        m_port = from->PortWWN;
    } else {
        if (const auto properties = LastRecord<ORVAN_FC_NIC_PROPERTIES>("ORVAN_GetFCAndNICProperties")) {
            m_node = properties->NodeWWN;
            m_port = properties->PortWWN;
        }
        port = {{"node_wwn", WwnText(m_node)}, {"port_wwn", WwnText(m_port)}};
    }
    m_json["port"] = port;
}

void AdapterModel::DescribeAttributes() {
    const auto from = LastRecord<HBA_ADAPTERATTRIBUTES>("GetAdapterAttributes");
    if (!from)
        return;
    HBA_ADAPTERATTRIBUTES to{};
    RecordWriter writer(m_json["attributes"]);
    writer.Text("manufacturer", from->Manufacturer, to.Manufacturer);
    writer.Text("serial_number", from->SerialNumber, to.SerialNumber);
    writer.Text("model", from->Model, to.Model);
    writer.Text("model_description", from->ModelDescription, to.ModelDescription);
    writer.Text("node_symbolic_name", from->NodeSymbolicName, to.NodeSymbolicName);
    writer.Text("hardware_version", from->HardwareVersion, to.HardwareVersion);
    writer.Text("driver_version", from->DriverVersion, to.DriverVersion);
    writer.Text("option_rom_version", from->OptionROMVersion, to.OptionROMVersion);
    writer.Text("firmware_version", from->FirmwareVersion, to.FirmwareVersion);
    writer.Number("vendor_specific_id", from->VendorSpecificID, to.VendorSpecificID);
    writer.Number("number_of_ports", from->NumberOfPorts, to.NumberOfPorts);
    writer.Text("driver_name", from->DriverName, to.DriverName);
    to.NodeWWN = m_node;
    m_records["GetAdapterAttributes"] = Good(to);
}

// Counters run while they are recorded: the last ones count, and that they were others before tells nothing.
void AdapterModel::DescribeStatistics() {
    const auto record = LastRecord<HBA_PORTSTATISTICS>("GetPortStatistics");
    if (!record)
        return;
    HBA_INT64 counters[std::size(COUNTERS)];
    std::memcpy(counters, &*record, sizeof counters);
    for (std::size_t i = 0; i < std::size(COUNTERS); ++i)
        m_json["statistics"][COUNTERS[i]] = counters[i];
    m_records["GetPortStatistics"] = Good(*record);
}

void AdapterModel::DescribeProperties() {
    const auto from = LastRecord<ORVAN_FC_NIC_PROPERTIES>("ORVAN_GetFCAndNICProperties");
    if (!from)
        return;
    ORVAN_FC_NIC_PROPERTIES to{};
    Json& json = m_json["properties"];
    RecordWriter writer(json);
    writer.Wwn("node_wwn", from->NodeWWN, to.NodeWWN);
    writer.Wwn("port_wwn", from->PortWWN, to.PortWWN);
    json["mac"] = Groups(from->MacAddress);
    std::ranges::copy(from->MacAddress, to.MacAddress);
    writer.Text("network_instance", from->NetworkInstance, to.NetworkInstance);
    // A key holds one byte less than the array.
    json["network_instance"] = json["network_instance"].get<std::string>().substr(0, ORVAN_NAME_SIZE - 1);
    to.NetworkInstance[ORVAN_NAME_SIZE - 1] = '\0';
    json["remote_booted"] = (from->Flags & ORVAN_FLAG_REMOTE_BOOTED) != 0;
    json["remote_page_file"] = (from->Flags & ORVAN_FLAG_REMOTE_PAGE_FILE) != 0;
    to.Flags = from->Flags & (ORVAN_FLAG_REMOTE_BOOTED | ORVAN_FLAG_REMOTE_PAGE_FILE);
    m_records["ORVAN_GetFCAndNICProperties"] = Good(to);
}

// As an agent keeps them: so many bits of each.
void AdapterModel::DescribePci() {
    if (!m_facts.bus)
        return;
    const std::uint32_t slot = m_facts.slot.value_or(0);
    m_json["pci"] = {{"bus", *m_facts.bus & 0xFF}, {"device", slot >> 16 & 0x1F}, {"function", slot & 7}};
}

void AdapterModel::DescribeDcb() {
    const auto last = [&](const char* function) {
        const auto* const runs = Runs({.function = function, .adapter = m_facts.identifier});
        return runs && !runs->back().reply.threw ? &runs->back().reply : nullptr;
    };
    if (const Reply* const reply = last("get_dcb_config"); reply && reply->data.size() == sizeof(DCB_CONFIG)) {
        DCB_CONFIG state;
        std::memcpy(&state, reply->data.data(), sizeof state);
        m_json["dcb"]["enabled"] = state.lDcbEnabled;
        m_json["dcb"]["config_hresult"] = reply->status;
    }
    if (const Reply* const reply = last("get_app_oper_state"); reply && reply->data.size() == sizeof(DCB_APP_STATE)) {
        DCB_APP_STATE state;
        std::memcpy(&state, reply->data.data(), sizeof state);
        m_json["dcb"]["app_hresult"] = reply->status;
        m_json["dcb"]["priority_bitmap"] = state.byPriorityMap;
    }
    if (const Reply* const reply = last("get_pfc_oper_state"); reply && reply->data.size() == sizeof(DCB_PFC_STATE)) {
        DCB_PFC_STATE state;
        std::memcpy(&state, reply->data.data(), sizeof state);
        m_json["dcb"]["pfc_hresult"] = reply->status;
        m_json["dcb"]["pfc"] = state.lEnabled;
    }
}

} // namespace recording
