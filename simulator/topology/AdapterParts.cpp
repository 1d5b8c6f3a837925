#include "simulator/topology/AdapterParts.h"

#include "FcoeAgent/HbaApi.h"

namespace sim {
namespace {

struct Counter {
    const char* name;
    const char* about;
};
constexpr Counter COUNTERS[COUNTER_COUNT] = {
    {"seconds_since_last_reset", "Seconds since the counters were reset"},
    {"tx_frames", "Frames sent"},
    {"tx_words", "Words sent"},
    {"rx_frames", "Frames received"},
    {"rx_words", "Words received"},
    {"lip_count", "Loop initializations"},
    {"nos_count", "Not-operational sequences"},
    {"error_frames", "Frames with errors"},
    {"dumped_frames", "Frames lost for want of buffers"},
    {"link_failure_count", "Link failures"},
    {"loss_of_sync_count", "Losses of synchronization"},
    {"loss_of_signal_count", "Losses of signal"},
    {"primitive_seq_protocol_err_count", "Protocol errors of primitive sequences"},
    {"invalid_tx_word_count", "Invalid words sent"},
    {"invalid_crc_count", "Frames with a wrong checksum"}};

constexpr NamedNumber SPEEDS[] = {
    {"unknown", HBA_PORTSPEED_UNKNOWN},  {"1 Gbit/s", HBA_PORTSPEED_1GBIT},
    {"2 Gbit/s", HBA_PORTSPEED_2GBIT},   {"10 Gbit/s", HBA_PORTSPEED_10GBIT},
    {"4 Gbit/s", HBA_PORTSPEED_4GBIT},   {"8 Gbit/s", HBA_PORTSPEED_8GBIT},
    {"16 Gbit/s", HBA_PORTSPEED_16GBIT}, {"not negotiated", HBA_PORTSPEED_NOT_NEGOTIATED}};
constexpr NamedNumber STATES[] = {{"unknown", HBA_PORTSTATE_UNKNOWN},
                                  {"online", HBA_PORTSTATE_ONLINE},
                                  {"offline", HBA_PORTSTATE_OFFLINE},
                                  {"bypassed", HBA_PORTSTATE_BYPASSED},
                                  {"diagnostics", HBA_PORTSTATE_DIAGNOSTICS},
                                  {"link down", HBA_PORTSTATE_LINKDOWN},
                                  {"error", HBA_PORTSTATE_ERROR},
                                  {"loopback", HBA_PORTSTATE_LOOPBACK}};
constexpr NamedNumber TYPES[] = {
    {"unknown", HBA_PORTTYPE_UNKNOWN}, {"other", HBA_PORTTYPE_OTHER},       {"not present", HBA_PORTTYPE_NOTPRESENT},
    {"N port", HBA_PORTTYPE_NPORT},    {"NL port", HBA_PORTTYPE_NLPORT},    {"FL port", HBA_PORTTYPE_FLPORT},
    {"F port", HBA_PORTTYPE_FPORT},    {"E port", HBA_PORTTYPE_EPORT},      {"G port", HBA_PORTTYPE_GPORT},
    {"L port", HBA_PORTTYPE_LPORT},    {"point to point", HBA_PORTTYPE_PTP}};

} // namespace

const char* CounterKey(std::size_t counter) {
    return COUNTERS[counter].name;
}

void DescribeAttributes(Keys& keys, AdapterAttributes& attributes) {
    keys.Text({"manufacturer", "Manufacturer"}, attributes.manufacturer, SHORT_TEXT);
    keys.Text({"serial_number", "Serial number"}, attributes.serialNumber, SHORT_TEXT);
    keys.Text({"model", "Model"}, attributes.model, LONG_TEXT);
    keys.Text({"model_description", "Description of the model"}, attributes.modelDescription, LONG_TEXT);
    keys.Text({"node_symbolic_name", "Symbolic name of the node"}, attributes.nodeSymbolicName, LONG_TEXT);
    keys.Text({"hardware_version", "Version of the hardware"}, attributes.hardwareVersion, LONG_TEXT);
    keys.Text({"driver_version", "Version of the driver"}, attributes.driverVersion, LONG_TEXT);
    keys.Text({"option_rom_version", "Version of the option ROM"}, attributes.optionRomVersion, LONG_TEXT);
    keys.Text({"firmware_version", "Version of the firmware"}, attributes.firmwareVersion, LONG_TEXT);
    keys.Number({"vendor_specific_id", "The vendor's number of the model"}, attributes.vendorSpecificId);
    keys.Number({"number_of_ports", "Ports that the adapter claims"}, attributes.numberOfPorts);
    keys.Text({"driver_name", "File name of the driver"}, attributes.driverName, LONG_TEXT);
}

bool DescribePort(Keys& keys, PortAttributes& port) {
    keys.WorldWideName({"node_wwn", "World Wide Node Name", true}, port.nodeWwn);
    keys.WorldWideName({"port_wwn", "World Wide Port Name", true}, port.portWwn);
    keys.Number({"fc_id", "Fibre Channel address"}, port.fcId);
    keys.Number({.name = "type", .about = "Type of the port", .names = TYPES}, port.type);
    keys.Number({.name = "state", .about = "State of the port", .names = STATES}, port.state);
    keys.Number({"classes_of_service", "Classes of service, a bit each"}, port.classesOfService);
    keys.Number({.name = "supported_speed", .about = "Speeds that it can have, a bit each", .names = SPEEDS},
                port.supportedSpeed);
    keys.Number({.name = "speed", .about = "Speed", .names = SPEEDS}, port.speed);
    keys.Number({"max_frame_size", "Longest frame in bytes"}, port.maxFrameSize);
    keys.Text({"symbolic_name", "Symbolic name"}, port.symbolicName, LONG_TEXT);
    keys.Text({"os_device_name", "Name of its device in the operating system"}, port.osDeviceName, LONG_TEXT);
    keys.WorldWideName({"fabric_name", "Name of the fabric"}, port.fabricName);
    return keys.Number(
        {.name = "discovered_ports", .about = "Remote ports that it found", .byDefault = "the number of targets"},
        port.discoveredPorts);
}

void DescribeCounters(Keys& keys, std::array<std::int64_t, COUNTER_COUNT>& counters, std::int64_t min) {
    for (std::size_t i = 0; i < COUNTER_COUNT; ++i)
        keys.Signed({COUNTERS[i].name, COUNTERS[i].about}, min, INT64_MAX, counters[i]);
}

void DescribeProperties(Keys& keys, FcNicProperties& properties) {
    keys.WorldWideName({.name = "node_wwn", .about = "World Wide Node Name", .byDefault = "the port's"},
                       properties.nodeWwn);
    keys.WorldWideName({.name = "port_wwn", .about = "World Wide Port Name", .byDefault = "the port's"},
                       properties.portWwn);
    keys.Mac({.name = "mac", .about = "Address of the network side", .byDefault = "the adapter's"}, properties.mac);
    keys.Text({.name = "network_instance",
               .about = "Name of the network device",
               .byDefault = "\\DEVICE\\ and the adapter's identifier"},
              properties.networkInstance, NAME_TEXT);
    keys.Flag({"remote_booted", "The system was started through this adapter"}, properties.remoteBooted);
    keys.Flag({"remote_page_file", "The page file is on one of its disks"}, properties.remotePageFile);
}

void DescribePci(Keys& keys, PciLocation& pci) {
    keys.Number({"bus", "PCI bus"}, pci.bus, {0, 255});
    keys.Number({"device", "PCI device"}, pci.device, {0, 31});
    keys.Number({"function", "PCI function"}, pci.function, {0, 7});
}

void DescribeDcb(Keys& keys, Dcb& dcb) {
    std::int64_t enabled = dcb.enabled;
    keys.Signed({"enabled", "What get_dcb_config tells; 0: DCB is off"}, INT32_MIN, INT32_MAX, enabled);
    dcb.enabled = static_cast<std::int32_t>(enabled);
    keys.Number({"config_hresult", "HRESULT of get_dcb_config"}, dcb.configHresult);
    keys.Number({"app_hresult", "HRESULT of get_app_oper_state"}, dcb.appHresult);
    keys.Number({"priority_bitmap", "Priorities of FCoE, a bit each"}, dcb.priorityBitmap);
    keys.Number({"pfc_hresult", "HRESULT of get_pfc_oper_state"}, dcb.pfcHresult);
    keys.Numbers({"pfc", "Whether each of the eight priorities is lossless"}, dcb.pfc);
}

} // namespace sim
