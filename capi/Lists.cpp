#include "capi/Lists.h"

#include <cstring>
#include <utility>

namespace capi {
namespace {

HandleTable g_lists;

template <class Record> std::uint32_t SizeOf() {
    return static_cast<std::uint32_t>(sizeof(Record));
}

// The texts are those of the agent's record.
fcoe_hba Of(const QEL_FCOE_HBA& hba) {
    fcoe_hba record{};
    record.size = SizeOf<fcoe_hba>();
    record.port_fc_id = hba.ulPortFcId;
    record.type = hba.strType.c_str();
    record.device_id = hba.strDeviceId.c_str();
    record.second_id = hba.strSecondId.c_str();
    record.port_wwn = hba.strPortWWN.c_str();
    record.node_wwn = hba.strNodeWWN.c_str();
    record.pci_location = hba.strPciLocation.c_str();
    record.port_speed = hba.strPortSpeed.c_str();
    record.fcoe_link_status = hba.strFcoeLinkStatus.c_str();
    record.adapter_name = hba.strAdapterName.c_str();
    record.model = hba.strModel.c_str();
    return record;
}

fcoe_fabric Of(const QEL_FCOE_FABRIC& fabric) {
    fcoe_fabric record{};
    record.size = SizeOf<fcoe_fabric>();
    record.entry_word = fabric.ulEntryWord;
    record.kind_code = fabric.ulKind;
    record.entry_byte = fabric.ulEntryByte;
    record.number = fabric.ulNumber;
    record.name = fabric.strName.c_str();
    record.wwn1 = fabric.strWWN1.c_str();
    record.wwn2 = fabric.strWWN2.c_str();
    record.wwn3 = fabric.strWWN3.c_str();
    record.device_id = fabric.strDeviceId.c_str();
    record.second_id = fabric.strSecondId.c_str();
    record.kind = fabric.strKind.c_str();
    return record;
}

fcoe_port Of(const QEL_FCOE_PORT& port) {
    fcoe_port record{};
    record.size = SizeOf<fcoe_port>();
    record.port_type = port.ulPortType;
    record.word_a = port.ulWordA;
    record.word_b = port.ulWordB;
    record.node_wwn = port.strNodeWWN.c_str();
    record.port_wwn = port.strPortWWN.c_str();
    record.kind = port.strKind.c_str();
    record.device_id = port.strDeviceId.c_str();
    record.second_id = port.strSecondId.c_str();
    record.wwn3 = port.strWWN3.c_str();
    record.fabric_name = port.strFabricName.c_str();
    return record;
}

fcoe_target Of(const QEL_FCOE_TARGET& target) {
    fcoe_target record{};
    record.size = SizeOf<fcoe_target>();
    record.scsi_bus = target.ulScsiBus;
    record.scsi_target = target.ulScsiTarget;
    record.fc_id = target.ulFcId;
    record.number = target.ulNumber;
    record.port_type = target.ulPortType;
    static_assert(sizeof record.initiator_port_bytes == sizeof target.byInitiatorPortWWN);
    std::memcpy(record.initiator_port_bytes, target.byInitiatorPortWWN, sizeof record.initiator_port_bytes);
    record.node_wwn = target.strNodeWWN.c_str();
    record.port_wwn = target.strPortWWN.c_str();
    record.vendor = target.strVendor.c_str();
    record.serial = target.strSerial.c_str();
    record.initiator_port_wwn = target.strInitiatorPortWWN.c_str();
    record.owning_port_wwn = target.strOwningPortWWN.c_str();
    record.fabric_name = target.strFabricName.c_str();
    record.device_id = target.strDeviceId.c_str();
    record.second_id = target.strSecondId.c_str();
    return record;
}

fcoe_lun Of(const QEL_FCOE_LUN& lun) {
    fcoe_lun record{};
    record.size = SizeOf<fcoe_lun>();
    record.os_lun = lun.ulOsLun;
    record.scsi_bus = lun.ulScsiBus;
    record.scsi_target = lun.ulScsiTarget;
    record.os_device_name = lun.strOsDeviceName.c_str();
    record.capacity = lun.strCapacity.c_str();
    record.block_size = lun.strBlockSize.c_str();
    record.target_port_wwn = lun.strTargetPortWWN.c_str();
    record.owning_port_wwn = lun.strOwningPortWWN.c_str();
    record.initiator_port_wwn = lun.strInitiatorPortWWN.c_str();
    record.fabric_name = lun.strFabricName.c_str();
    record.device_id = lun.strDeviceId.c_str();
    record.second_id = lun.strSecondId.c_str();
    return record;
}

fcoe_vlan Of(const QEL_FCOE_VLAN& vlan) {
    fcoe_vlan record{};
    record.size = SizeOf<fcoe_vlan>();
    record.vlan_id = vlan.ulVlanId;
    record.state_code = vlan.ulState;
    record.name = vlan.strName.c_str();
    record.state = vlan.strState.c_str();
    record.device_id = vlan.strDeviceId.c_str();
    record.second_id = vlan.strSecondId.c_str();
    return record;
}

fcoe_statistic Of(const QEL_FCOE_STATISTIC& statistic) {
    fcoe_statistic record{};
    record.size = SizeOf<fcoe_statistic>();
    record.value = statistic.llValue;
    record.label = statistic.strLabel.c_str();
    record.device_id = statistic.strDeviceId.c_str();
    record.second_id = statistic.strSecondId.c_str();
    return record;
}

template <class Record> using RecordOf = decltype(Of(std::declval<const Record&>()));

template <class Record> class Records : public List {
  public:
    explicit Records(std::vector<Record> records) : m_records(std::move(records)) {
        m_shown.reserve(m_records.size());
        for (const Record& record : m_records)
            m_shown.push_back(Of(record));
    }
    std::uint32_t Count() const noexcept override { return static_cast<std::uint32_t>(m_shown.size()); }
    const void* At(std::uint32_t index) const noexcept override {
        return index < m_shown.size() ? &m_shown[index] : nullptr;
    }

  private:
    std::vector<Record> m_records; // stays as it is: the others point to its texts
    std::vector<RecordOf<Record>> m_shown;
};

class Errors : public List {
  public:
    explicit Errors(std::vector<QEL_ERROR_ENTRY> entries) : m_entries(std::move(entries)) {
        m_shown.reserve(m_entries.size());
        m_arguments.reserve(m_entries.size());
        for (const QEL_ERROR_ENTRY& entry : m_entries)
            Add(entry);
    }
    std::uint32_t Count() const noexcept override { return static_cast<std::uint32_t>(m_shown.size()); }
    const void* At(std::uint32_t index) const noexcept override {
        return index < m_shown.size() ? &m_shown[index] : nullptr;
    }

  private:
    void Add(const QEL_ERROR_ENTRY& entry) {
        auto& arguments = m_arguments.emplace_back();
        for (const CQelString& argument : entry.vecArguments)
            arguments.push_back(argument.c_str());
        arguments.push_back(nullptr); // so that there is an array without arguments, too
        fcoe_error record{};
        record.size = SizeOf<fcoe_error>();
        record.code = entry.ulCode;
        record.error_class = entry.ulClass;
        record.severity = entry.ulSeverity;
        record.argument_count = static_cast<std::uint32_t>(entry.vecArguments.size());
        record.source = entry.strSource.c_str();
        record.arguments = arguments.data();
        m_shown.push_back(record);
    }

    std::vector<QEL_ERROR_ENTRY> m_entries; // stays as it is, as of Records
    std::vector<std::vector<const fcoe_char*>> m_arguments;
    std::vector<fcoe_error> m_shown;
};

} // namespace

std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_HBA> records) {
    return std::make_unique<Records<QEL_FCOE_HBA>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_FABRIC> records) {
    return std::make_unique<Records<QEL_FCOE_FABRIC>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_PORT> records) {
    return std::make_unique<Records<QEL_FCOE_PORT>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_TARGET> records) {
    return std::make_unique<Records<QEL_FCOE_TARGET>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_LUN> records) {
    return std::make_unique<Records<QEL_FCOE_LUN>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_VLAN> records) {
    return std::make_unique<Records<QEL_FCOE_VLAN>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_FCOE_STATISTIC> records) {
    return std::make_unique<Records<QEL_FCOE_STATISTIC>>(std::move(records));
}
std::unique_ptr<List> MakeList(std::vector<QEL_ERROR_ENTRY> entries) {
    return std::make_unique<Errors>(std::move(entries));
}

fcoe_list* GiveOut(std::unique_ptr<List> list) noexcept {
    Handle* const handle = list.release();
    g_lists.Add(handle);
    return reinterpret_cast<fcoe_list*>(handle);
}

const List* FindList(const fcoe_list* list) noexcept {
    return static_cast<const List*>(g_lists.Find(list));
}

void DropList(fcoe_list* list) noexcept {
    delete g_lists.Take(list);
}

} // namespace capi
