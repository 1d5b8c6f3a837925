#include "tools/fcoectl/Records.h"

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr Format PLAIN = Format::Plain;
constexpr Format HEX = Format::Hex;
constexpr Shown DETAIL = Shown::Detail;

const Field<QEL_FCOE_HBA> HBA_FIELDS[] = {
    {"type", "TYPE", &QEL_FCOE_HBA::strType},
    {"device_id", "DEVICE ID", &QEL_FCOE_HBA::strDeviceId},
    {"second_id", "NAME", &QEL_FCOE_HBA::strSecondId},
    {"port_wwn", "PORT WWN", &QEL_FCOE_HBA::strPortWWN},
    {"node_wwn", "NODE WWN", &QEL_FCOE_HBA::strNodeWWN},
    {"port_fc_id", "FC ID", &QEL_FCOE_HBA::ulPortFcId, HEX},
    {"pci_location", "PCI LOCATION", &QEL_FCOE_HBA::strPciLocation},
    {"port_speed", "SPEED", &QEL_FCOE_HBA::strPortSpeed},
    {"fcoe_link_status", "FCOE LINK STATUS", &QEL_FCOE_HBA::strFcoeLinkStatus},
    {"adapter_name", "LIBRARY NAME", &QEL_FCOE_HBA::strAdapterName},
    {"model", "MODEL", &QEL_FCOE_HBA::strModel},
};

const Field<QEL_FCOE_STATISTIC> STATISTIC_FIELDS[] = {
    {"device_id", "DEVICE ID", &QEL_FCOE_STATISTIC::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_STATISTIC::strSecondId},
    {"label", "COUNTER", &QEL_FCOE_STATISTIC::strLabel},
    {"value", "VALUE", &QEL_FCOE_STATISTIC::llValue},
};

const Field<QEL_FCOE_FABRIC> FABRIC_FIELDS[] = {
    {"name", "NAME", &QEL_FCOE_FABRIC::strName},
    {"wwn1", "WWN 1", &QEL_FCOE_FABRIC::strWWN1},
    {"wwn2", "WWN 2", &QEL_FCOE_FABRIC::strWWN2},
    {"wwn3", "WWN 3", &QEL_FCOE_FABRIC::strWWN3},
    {"entry_word", "ENTRY WORD", &QEL_FCOE_FABRIC::ulEntryWord, PLAIN, DETAIL},
    {"device_id", "DEVICE ID", &QEL_FCOE_FABRIC::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_FABRIC::strSecondId},
    {"kind", "KIND", &QEL_FCOE_FABRIC::strKind},
    {"kind_code", "KIND CODE", &QEL_FCOE_FABRIC::ulKind, PLAIN, DETAIL},
    {"entry_byte", "ENTRY BYTE", &QEL_FCOE_FABRIC::ulEntryByte, PLAIN, DETAIL},
    {"number", "NUMBER", &QEL_FCOE_FABRIC::ulNumber},
};

const Field<QEL_FCOE_PORT> PORT_FIELDS[] = {
    {"node_wwn", "NODE WWN", &QEL_FCOE_PORT::strNodeWWN},
    {"port_wwn", "PORT WWN", &QEL_FCOE_PORT::strPortWWN},
    {"port_type", "TYPE", &QEL_FCOE_PORT::ulPortType},
    {"kind", "KIND", &QEL_FCOE_PORT::strKind},
    {"word_a", "WORD A", &QEL_FCOE_PORT::ulWordA, HEX, DETAIL},
    {"word_b", "WORD B", &QEL_FCOE_PORT::ulWordB, HEX},
    {"device_id", "DEVICE ID", &QEL_FCOE_PORT::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_PORT::strSecondId},
    {"wwn3", "WWN 3", &QEL_FCOE_PORT::strWWN3, PLAIN, DETAIL},
    {"fabric_name", "FABRIC", &QEL_FCOE_PORT::strFabricName},
};

const Field<QEL_FCOE_TARGET> TARGET_FIELDS[] = {
    {"node_wwn", "NODE WWN", &QEL_FCOE_TARGET::strNodeWWN},
    {"port_wwn", "PORT WWN", &QEL_FCOE_TARGET::strPortWWN},
    {"scsi_bus", "BUS", &QEL_FCOE_TARGET::ulScsiBus},
    {"scsi_target", "TARGET", &QEL_FCOE_TARGET::ulScsiTarget},
    {"fc_id", "FC ID", &QEL_FCOE_TARGET::ulFcId, HEX},
    {"number", "NUMBER", &QEL_FCOE_TARGET::ulNumber, PLAIN, DETAIL},
    {"vendor", "VENDOR", &QEL_FCOE_TARGET::strVendor},
    {"serial", "SERIAL", &QEL_FCOE_TARGET::strSerial},
    {"initiator_port_wwn", "INITIATOR", &QEL_FCOE_TARGET::strInitiatorPortWWN},
    {"owning_port_wwn", "OWNING PORT", &QEL_FCOE_TARGET::strOwningPortWWN, PLAIN, DETAIL},
    {"fabric_name", "FABRIC", &QEL_FCOE_TARGET::strFabricName},
    {"device_id", "DEVICE ID", &QEL_FCOE_TARGET::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_TARGET::strSecondId},
    {"initiator_port_bytes", "INITIATOR BYTES", &QEL_FCOE_TARGET::byInitiatorPortWWN, PLAIN, DETAIL},
    {"port_type", "PORT TYPE", &QEL_FCOE_TARGET::ulPortType, PLAIN, DETAIL},
};

const Field<QEL_FCOE_LUN> LUN_FIELDS[] = {
    {"os_lun", "LUN", &QEL_FCOE_LUN::ulOsLun},
    {"scsi_bus", "BUS", &QEL_FCOE_LUN::ulScsiBus},
    {"scsi_target", "TARGET", &QEL_FCOE_LUN::ulScsiTarget},
    {"reserved", "RESERVED", &QEL_FCOE_LUN::ulReserved, PLAIN, DETAIL},
    {"os_device_name", "DEVICE NAME", &QEL_FCOE_LUN::strOsDeviceName},
    {"capacity", "CAPACITY", &QEL_FCOE_LUN::strCapacity},
    {"block_size", "BLOCK SIZE", &QEL_FCOE_LUN::strBlockSize},
    {"target_port_wwn", "TARGET PORT", &QEL_FCOE_LUN::strTargetPortWWN},
    {"owning_port_wwn", "OWNING PORT", &QEL_FCOE_LUN::strOwningPortWWN, PLAIN, DETAIL},
    {"initiator_port_wwn", "INITIATOR", &QEL_FCOE_LUN::strInitiatorPortWWN},
    {"fabric_name", "FABRIC", &QEL_FCOE_LUN::strFabricName},
    {"device_id", "DEVICE ID", &QEL_FCOE_LUN::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_LUN::strSecondId},
};

const Field<QEL_FCOE_VLAN> VLAN_FIELDS[] = {
    {"name", "NAME", &QEL_FCOE_VLAN::strName},
    {"vlan_id", "VLAN ID", &QEL_FCOE_VLAN::ulVlanId},
    {"state_code", "STATE CODE", &QEL_FCOE_VLAN::ulState, PLAIN, DETAIL},
    {"state", "STATE", &QEL_FCOE_VLAN::strState},
    {"device_id", "DEVICE ID", &QEL_FCOE_VLAN::strDeviceId, PLAIN, DETAIL},
    {"second_id", "ADAPTER", &QEL_FCOE_VLAN::strSecondId},
};

constexpr RecordType<QEL_FCOE_HBA> HBA{"hbas", HBA_FIELDS};
constexpr RecordType<QEL_FCOE_STATISTIC> STATISTIC{"statistics", STATISTIC_FIELDS};
constexpr RecordType<QEL_FCOE_FABRIC> FABRIC{"fabrics", FABRIC_FIELDS};
constexpr RecordType<QEL_FCOE_PORT> PORT{"ports", PORT_FIELDS};
constexpr RecordType<QEL_FCOE_TARGET> TARGET{"targets", TARGET_FIELDS};
constexpr RecordType<QEL_FCOE_LUN> LUN{"luns", LUN_FIELDS};
constexpr RecordType<QEL_FCOE_VLAN> VLAN{"vlans", VLAN_FIELDS};

} // namespace

template <> const RecordType<QEL_FCOE_HBA>& Describe() {
    return HBA;
}
template <> const RecordType<QEL_FCOE_STATISTIC>& Describe() {
    return STATISTIC;
}
template <> const RecordType<QEL_FCOE_FABRIC>& Describe() {
    return FABRIC;
}
template <> const RecordType<QEL_FCOE_PORT>& Describe() {
    return PORT;
}
template <> const RecordType<QEL_FCOE_TARGET>& Describe() {
    return TARGET;
}
template <> const RecordType<QEL_FCOE_LUN>& Describe() {
    return LUN;
}
template <> const RecordType<QEL_FCOE_VLAN>& Describe() {
    return VLAN;
}

std::string ValueText(const Value& value, Format format) {
    if (const auto* text = std::get_if<std::string>(&value))
        return *text;
    const auto number = std::get<std::int64_t>(value);
    return format == Format::Hex ? fmt::format("0x{:06X}", number) : fmt::format("{}", number);
}

std::string WwnText(const BYTE (&bytes)[8]) {
    return fmt::format("{:02X}", fmt::join(bytes, ":"));
}

std::string FieldText(const CQelString& text) {
    return ToUtf8(text);
}

} // namespace fcoectl
