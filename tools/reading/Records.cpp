#include "tools/reading/Records.h"

#include <fmt/format.h>

#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr Format HEX = Format::Hex;

const Field<QEL_FCOE_HBA> HBA_FIELDS[] = {
    {"type", "TYPE", &QEL_FCOE_HBA::strType},
    {"device_id", "DEVICE ID", &QEL_FCOE_HBA::strDeviceId},
    {"second_id", "NAME", &QEL_FCOE_HBA::strSecondId, 1},
    {"port_wwn", "PORT WWN", &QEL_FCOE_HBA::strPortWWN, 4},
    {"node_wwn", "NODE WWN", &QEL_FCOE_HBA::strNodeWWN},
    {"port_fc_id", "FC ID", &QEL_FCOE_HBA::ulPortFcId, 0, HEX},
    {"pci_location", "PCI LOCATION", &QEL_FCOE_HBA::strPciLocation},
    {"port_speed", "SPEED", &QEL_FCOE_HBA::strPortSpeed, 3},
    {"fcoe_link_status", "FCOE LINK STATUS", &QEL_FCOE_HBA::strFcoeLinkStatus},
    {"adapter_name", "LIBRARY NAME", &QEL_FCOE_HBA::strAdapterName},
    {"model", "MODEL", &QEL_FCOE_HBA::strModel},
};

const Field<QEL_FCOE_STATISTIC> STATISTIC_FIELDS[] = {
    {"device_id", "DEVICE ID", &QEL_FCOE_STATISTIC::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_STATISTIC::strSecondId, 1},
    {"label", "COUNTER", &QEL_FCOE_STATISTIC::strLabel, 2},
    {"value", "VALUE", &QEL_FCOE_STATISTIC::llValue, 3},
};

const Field<QEL_FCOE_FABRIC> FABRIC_FIELDS[] = {
    {"name", "NAME", &QEL_FCOE_FABRIC::strName, 1},
    {"wwn1", "WWN 1", &QEL_FCOE_FABRIC::strWWN1, 3},
    {"wwn2", "WWN 2", &QEL_FCOE_FABRIC::strWWN2},
    {"wwn3", "WWN 3", &QEL_FCOE_FABRIC::strWWN3},
    {"entry_word", "ENTRY WORD", &QEL_FCOE_FABRIC::ulEntryWord},
    {"device_id", "DEVICE ID", &QEL_FCOE_FABRIC::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_FABRIC::strSecondId, 4},
    {"kind", "KIND", &QEL_FCOE_FABRIC::strKind, 2},
    {"kind_code", "KIND CODE", &QEL_FCOE_FABRIC::ulKind},
    {"entry_byte", "ENTRY BYTE", &QEL_FCOE_FABRIC::ulEntryByte},
    {"number", "NUMBER", &QEL_FCOE_FABRIC::ulNumber},
};

const Field<QEL_FCOE_PORT> PORT_FIELDS[] = {
    {"node_wwn", "NODE WWN", &QEL_FCOE_PORT::strNodeWWN},
    {"port_wwn", "PORT WWN", &QEL_FCOE_PORT::strPortWWN, 1},
    {"port_type", "TYPE", &QEL_FCOE_PORT::ulPortType},
    {"kind", "KIND", &QEL_FCOE_PORT::strKind, 2},
    {"word_a", "WORD A", &QEL_FCOE_PORT::ulWordA, 0, HEX},
    {"word_b", "FC ID", &QEL_FCOE_PORT::ulWordB, 0, HEX},
    {"device_id", "DEVICE ID", &QEL_FCOE_PORT::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_PORT::strSecondId, 4},
    {"wwn3", "WWN 3", &QEL_FCOE_PORT::strWWN3},
    {"fabric_name", "FABRIC", &QEL_FCOE_PORT::strFabricName, 3},
};

const Field<QEL_FCOE_TARGET> TARGET_FIELDS[] = {
    {"node_wwn", "NODE WWN", &QEL_FCOE_TARGET::strNodeWWN},
    {"port_wwn", "PORT WWN", &QEL_FCOE_TARGET::strPortWWN, 1},
    {"scsi_bus", "BUS", &QEL_FCOE_TARGET::ulScsiBus},
    {"scsi_target", "TARGET", &QEL_FCOE_TARGET::ulScsiTarget},
    {"fc_id", "FC ID", &QEL_FCOE_TARGET::ulFcId, 2, HEX},
    {"number", "NUMBER", &QEL_FCOE_TARGET::ulNumber},
    {"vendor", "VENDOR", &QEL_FCOE_TARGET::strVendor, 3},
    {"serial", "SERIAL", &QEL_FCOE_TARGET::strSerial, 4},
    {"initiator_port_wwn", "INITIATOR", &QEL_FCOE_TARGET::strInitiatorPortWWN, 5},
    {"owning_port_wwn", "OWNING PORT", &QEL_FCOE_TARGET::strOwningPortWWN},
    {"fabric_name", "FABRIC", &QEL_FCOE_TARGET::strFabricName},
    {"device_id", "DEVICE ID", &QEL_FCOE_TARGET::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_TARGET::strSecondId},
    {"initiator_port_bytes", "INITIATOR BYTES", &QEL_FCOE_TARGET::byInitiatorPortWWN},
    {"port_type", "PORT TYPE", &QEL_FCOE_TARGET::ulPortType},
};

const Field<QEL_FCOE_LUN> LUN_FIELDS[] = {
    {"os_lun", "LUN", &QEL_FCOE_LUN::ulOsLun, 1},
    {"scsi_bus", "BUS", &QEL_FCOE_LUN::ulScsiBus},
    {"scsi_target", "TARGET", &QEL_FCOE_LUN::ulScsiTarget},
    {"reserved", "RESERVED", &QEL_FCOE_LUN::ulReserved},
    {"os_device_name", "DEVICE NAME", &QEL_FCOE_LUN::strOsDeviceName, 2},
    {"capacity", "CAPACITY", &QEL_FCOE_LUN::strCapacity, 3},
    {"block_size", "BLOCK SIZE", &QEL_FCOE_LUN::strBlockSize},
    {"target_port_wwn", "TARGET PORT", &QEL_FCOE_LUN::strTargetPortWWN, 4},
    {"owning_port_wwn", "OWNING PORT", &QEL_FCOE_LUN::strOwningPortWWN},
    {"initiator_port_wwn", "INITIATOR", &QEL_FCOE_LUN::strInitiatorPortWWN, 5},
    {"fabric_name", "FABRIC", &QEL_FCOE_LUN::strFabricName},
    {"device_id", "DEVICE ID", &QEL_FCOE_LUN::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_LUN::strSecondId},
};

const Field<QEL_FCOE_VLAN> VLAN_FIELDS[] = {
    {"name", "NAME", &QEL_FCOE_VLAN::strName, 1},
    {"vlan_id", "VLAN ID", &QEL_FCOE_VLAN::ulVlanId, 2},
    {"state_code", "STATE CODE", &QEL_FCOE_VLAN::ulState},
    {"state", "STATE", &QEL_FCOE_VLAN::strState, 3},
    {"device_id", "DEVICE ID", &QEL_FCOE_VLAN::strDeviceId},
    {"second_id", "ADAPTER", &QEL_FCOE_VLAN::strSecondId, 4},
};

constexpr RecordType<QEL_FCOE_HBA> HBA{"hbas", "hbas", HBA_FIELDS};
constexpr RecordType<QEL_FCOE_STATISTIC> STATISTIC{"statistics", "stats", STATISTIC_FIELDS};
constexpr RecordType<QEL_FCOE_FABRIC> FABRIC{"fabrics", "fabrics", FABRIC_FIELDS};
constexpr RecordType<QEL_FCOE_PORT> PORT{"ports", "ports", PORT_FIELDS};
constexpr RecordType<QEL_FCOE_TARGET> TARGET{"targets", "targets", TARGET_FIELDS};
constexpr RecordType<QEL_FCOE_LUN> LUN{"luns", "luns", LUN_FIELDS};
constexpr RecordType<QEL_FCOE_VLAN> VLAN{"vlans", "vlans", VLAN_FIELDS};

} // namespace

template <> const RecordType<QEL_FCOE_HBA>& TypeOf() {
    return HBA;
}
template <> const RecordType<QEL_FCOE_STATISTIC>& TypeOf() {
    return STATISTIC;
}
template <> const RecordType<QEL_FCOE_FABRIC>& TypeOf() {
    return FABRIC;
}
template <> const RecordType<QEL_FCOE_PORT>& TypeOf() {
    return PORT;
}
template <> const RecordType<QEL_FCOE_TARGET>& TypeOf() {
    return TARGET;
}
template <> const RecordType<QEL_FCOE_LUN>& TypeOf() {
    return LUN;
}
template <> const RecordType<QEL_FCOE_VLAN>& TypeOf() {
    return VLAN;
}

std::string WwnText(const BYTE (&bytes)[8]) {
    return fmt::format("{:02X}", fmt::join(bytes, ":"));
}

std::string FieldText(const CQelString& text) {
    return ToUtf8(text);
}

} // namespace reading
