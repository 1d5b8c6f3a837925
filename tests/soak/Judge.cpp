#include "tests/soak/Judge.h"

#include <algorithm>
#include <map>
#include <set>
#include <type_traits>

#include <fmt/format.h>

#include "FcoeAgent/QelResource.h"
#include "tools/reading/Records.h"

namespace soak {
namespace {

using reading::FieldText;

constexpr unsigned NO_VERSION = 0; // of an adapter; none has it

// What makes a record the one that it is, what list of the library's it comes from, which fields one library call
// yields (the first ones by the list itself), and whether it belongs to a virtual port.
template <class Record> struct Kind;

using Groups = std::vector<std::vector<std::string_view>>;

template <> struct Kind<QEL_FCOE_HBA> {
    static std::string Key(const QEL_FCOE_HBA&) { return "adapter"; }
    static std::string List(const QEL_FCOE_HBA&) { return {}; }
    static bool IsVirtual(const QEL_FCOE_HBA&) { return false; }
    static inline const Groups groups = {{"type", "device_id"},
                                         {"port_wwn", "node_wwn", "port_fc_id", "port_speed", "fcoe_link_status"},
                                         {"adapter_name"},
                                         {"pci_location"},
                                         {"model"}};
};
template <> struct Kind<QEL_FCOE_STATISTIC> {
    static std::string Key(const QEL_FCOE_STATISTIC& record) { return FieldText(record.strLabel); }
    static std::string List(const QEL_FCOE_STATISTIC&) { return {}; }
    static bool IsVirtual(const QEL_FCOE_STATISTIC&) { return false; }
    static inline const Groups groups = {{"device_id", "label", "value"}};
};
template <> struct Kind<QEL_FCOE_FABRIC> {
    static std::string Key(const QEL_FCOE_FABRIC& record) { return fmt::format("fabric {}", record.ulKind); }
    static std::string List(const QEL_FCOE_FABRIC&) { return {}; }
    static bool IsVirtual(const QEL_FCOE_FABRIC& record) { return record.ulKind != 0; }
    static inline const Groups groups = {
        {"name", "wwn1", "wwn2", "wwn3", "entry_word", "device_id", "kind", "kind_code", "entry_byte", "number"}};
};
template <> struct Kind<QEL_FCOE_PORT> {
    static std::string Key(const QEL_FCOE_PORT& record) { return FieldText(record.strPortWWN); }
    static std::string List(const QEL_FCOE_PORT&) { return {}; }
    static bool IsVirtual(const QEL_FCOE_PORT& record) { return record.ulPortType != 0; }
    static inline const Groups groups = {
        {"node_wwn", "port_wwn", "port_type", "kind", "word_a", "word_b", "device_id", "wwn3", "fabric_name"}};
};
template <> struct Kind<QEL_FCOE_TARGET> {
    static std::string Key(const QEL_FCOE_TARGET& record) { return List(record) + " " + FieldText(record.strPortWWN); }
    static std::string List(const QEL_FCOE_TARGET& record) { return FieldText(record.strInitiatorPortWWN); }
    static bool IsVirtual(const QEL_FCOE_TARGET& record) { return record.ulPortType != 0; }
    static inline const Groups groups = {{"node_wwn", "port_wwn", "scsi_bus", "scsi_target", "fc_id", "number",
                                          "initiator_port_wwn", "initiator_port_bytes", "port_type", "device_id"},
                                         {"vendor"},
                                         {"serial"}};
};
template <> struct Kind<QEL_FCOE_LUN> {
    static std::string Key(const QEL_FCOE_LUN& record) { return fmt::format("{} {}", List(record), record.ulOsLun); }
    static std::string List(const QEL_FCOE_LUN& record) {
        return FieldText(record.strInitiatorPortWWN) + " " + FieldText(record.strTargetPortWWN);
    }
    static bool IsVirtual(const QEL_FCOE_LUN& record) {
        return FieldText(record.strInitiatorPortWWN).compare(0, 5, "20:00") != 0;
    }
    static inline const Groups groups = {{"os_lun", "scsi_bus", "scsi_target", "reserved", "os_device_name"},
                                         {"target_port_wwn", "initiator_port_wwn", "device_id"},
                                         {"capacity", "block_size"}};
};
template <> struct Kind<QEL_FCOE_VLAN> {
    static std::string Key(const QEL_FCOE_VLAN& record) { return fmt::format("VLAN {}", record.ulVlanId); }
    static std::string List(const QEL_FCOE_VLAN&) { return {}; }
    static bool IsVirtual(const QEL_FCOE_VLAN&) { return false; }
    static inline const Groups groups = {{"name", "vlan_id", "state_code", "state", "device_id"}};
};

// What a target or a logical unit has from its port was read with the adapter's ports, at a moment of its own.
template <class Record> bool HasItsPorts(const Record& record, const QEL_FCOE_PORT& port) {
    return record.strInitiatorPortWWN == port.strPortWWN && record.strOwningPortWWN == port.strWWN3 &&
           record.strFabricName == port.strFabricName;
}

// The FC address of a virtual port is the library's choice.
bool IsLeftToTheLibrary(const QEL_FCOE_PORT& record, std::string_view field) {
    return record.ulPortType != 0 && (field == "word_a" || field == "word_b");
}
bool IsLeftToTheLibrary(const QEL_FCOE_TARGET& record, std::string_view field) {
    return record.ulPortType != 0 && field == "fc_id";
}
template <class Record> bool IsLeftToTheLibrary(const Record&, std::string_view) {
    return false;
}

bool IsAddressGood(const QEL_FCOE_PORT& record, unsigned adapter) {
    return record.ulWordA == record.ulWordB && record.ulWordA >> 16 == adapter + 1;
}
bool IsAddressGood(const QEL_FCOE_TARGET& record, unsigned adapter) {
    return record.ulFcId >> 16 == adapter + 1;
}
template <class Record> bool IsAddressGood(const Record&, unsigned) {
    return true;
}

// The record as it is when the library refuses the readings behind groups of its fields. Some are taken for good, with
// nothing read, while the library's handlers are not registered.
std::vector<QEL_FCOE_HBA> WithoutReadings(const Situation& situation, QEL_FCOE_HBA record) {
    record.strPciLocation = L"PCI bus 0, device 0, function 0";
    if (situation.isRestarted) {
        record.strAdapterName.clear();
        record.strModel.clear();
        record.strPortWWN = record.strNodeWWN = L"00:00:00:00:00:00:00:00";
        record.ulPortFcId = 0;
        record.strPortSpeed = Resource(IDS_QEL_SPEED_UNKNOWN).c_str();
        record.strFcoeLinkStatus = Resource(IDS_QEL_LINK_PORT_OFFLINE).c_str();
    }
    return {record};
}
std::vector<QEL_FCOE_STATISTIC> WithoutReadings(const Situation& situation, QEL_FCOE_STATISTIC record) {
    record.llValue = 0;
    return situation.isRestarted ? std::vector{record} : std::vector<QEL_FCOE_STATISTIC>();
}
std::vector<QEL_FCOE_TARGET> WithoutReadings(const Situation&, QEL_FCOE_TARGET record) {
    record.strSerial.clear();
    record.strVendor.clear();
    return {record};
}
std::vector<QEL_FCOE_LUN> WithoutReadings(const Situation&, QEL_FCOE_LUN record) {
    record.strCapacity = record.strBlockSize = Resource(IDS_QEL_UNKNOWN).c_str();
    return {record};
}
template <class Record> std::vector<Record> WithoutReadings(const Situation&, const Record&) {
    return {};
}

template <class Record>
bool IsSame(const std::vector<std::string_view>& group, const Record& found, const Record& expected) {
    for (const auto& field : reading::TypeOf<Record>().fields)
        if (std::find(group.begin(), group.end(), field.key) != group.end() && !IsLeftToTheLibrary(found, field.key) &&
            ValueOf(field, found) != ValueOf(field, expected))
            return false;
    return true;
}

template <class Record> std::string Text(const Record& record) {
    return reading::ToJson(record).dump();
}

bool IsEmpty(const std::wstring& deviceId) {
    return deviceId.empty();
}

// The same name in all records, and one that the core agent gave.
template <class Record> std::string JudgeNames(const Situation& situation, const std::vector<Record>& records) {
    for (const Record& record : records) {
        if (IsEmpty(record.strDeviceId))
            continue; // an adapter that could not be read
        if (record.strSecondId != records.front().strSecondId)
            return "two names of one adapter: " + Text(record);
        if (record.strSecondId.empty() ? !situation.mayBeNameless
                                       : std::wstring(record.strSecondId) != DisplayName(situation.adapter))
            return "a wrong name: " + Text(record);
    }
    return {};
}

template <class Record> using Lists = std::vector<std::vector<Record>>; // by the adapter's state

// Every group of a record's fields must be of one moment. ports: the adapter's, at all moments. lists: those whose list
// the record may be of; narrowed.
template <class Record>
std::string JudgeRecord(const Situation& situation, const Lists<Record>& expected,
                        const std::vector<QEL_FCOE_PORT>& ports, const Record& record, std::set<std::size_t>& lists) {
    const std::string key = Kind<Record>::Key(record);
    const auto& groups = Kind<Record>::groups;
    std::vector<bool> found(groups.size());
    bool known = false;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        bool isOfList = false;
        for (const Record& candidate : expected[i]) {
            if (Kind<Record>::Key(candidate) != key)
                continue;
            known = true;
            auto forms = situation.exact ? std::vector<Record>() : WithoutReadings(situation, candidate);
            forms.push_back(candidate);
            for (const Record& form : forms) {
                for (std::size_t g = 0; g < groups.size(); ++g)
                    found[g] = found[g] || IsSame(groups[g], record, form);
                isOfList = isOfList || IsSame(groups[0], record, form);
            }
        }
        if (!isOfList)
            lists.erase(i);
    }
    if (!known)
        return "a record of what there was not: " + Text(record);
    for (std::size_t g = 0; g < groups.size(); ++g)
        if (!found[g])
            return fmt::format("a wrong {}: {}", groups[g].front(), Text(record));
    if constexpr (std::is_same_v<Record, QEL_FCOE_TARGET> || std::is_same_v<Record, QEL_FCOE_LUN>)
        if (std::ranges::none_of(ports, [&](const QEL_FCOE_PORT& port) { return HasItsPorts(record, port); }))
            return "a wrong port: " + Text(record);
    if (!IsAddressGood(record, situation.adapter))
        return "a wrong address: " + Text(record);
    if (lists.empty())
        return "entries of two moments in one list: " + Text(record);
    return {};
}

// The same records, those of virtual ports in any order.
template <class Record>
std::string JudgeWhole(const std::vector<Record>& expected, const std::vector<Record>& records) {
    const auto Keys = [](const std::vector<Record>& from, bool isVirtual) {
        std::vector<std::string> keys;
        for (const Record& record : from)
            if (Kind<Record>::IsVirtual(record) == isVirtual)
                keys.push_back(Kind<Record>::Key(record));
        if (isVirtual)
            std::sort(keys.begin(), keys.end());
        return keys;
    };
    for (const bool isVirtual : {false, true}) {
        const auto wanted = Keys(expected, isVirtual), found = Keys(records, isVirtual);
        if (wanted != found)
            return fmt::format("[{}] instead of [{}]", fmt::join(found, ", "), fmt::join(wanted, ", "));
    }
    return {};
}

// The virtual port that a record belongs to; any for a fabric, which has several.
std::string PortOf(const QEL_FCOE_FABRIC&) {
    return "FF:FF:FF:FF:FF:FF:FF:FF";
}
std::string PortOf(const QEL_FCOE_PORT& record) {
    return FieldText(record.strPortWWN);
}
std::string PortOf(const QEL_FCOE_TARGET& record) {
    return FieldText(record.strInitiatorPortWWN);
}
std::string PortOf(const QEL_FCOE_LUN& record) {
    return FieldText(record.strInitiatorPortWWN);
}
template <class Record> std::string PortOf(const Record&) {
    return {};
}

// The names of the virtual ports that there may have been.
template <class Record>
std::vector<std::string> VirtualPorts(const Situation& situation, const std::vector<Record>& records) {
    std::vector<std::string> ports = situation.ports;
    for (const Record& record : records)
        if (situation.isPortUnknown && Kind<Record>::IsVirtual(record) && IsPortName(PortOf(record)))
            ports.push_back(PortOf(record));
    std::sort(ports.begin(), ports.end());
    ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
    return ports;
}

template <class Record> Lists<Record> ExpectedLists(const Situation& situation, const std::vector<std::string>& ports) {
    Lists<Record> lists;
    // Without handlers also what is not there is read for good: as zeros.
    constexpr bool IS_READ_AS_ZEROS =
        std::is_same_v<Record, QEL_FCOE_HBA> || std::is_same_v<Record, QEL_FCOE_STATISTIC>;
    if (IS_READ_AS_ZEROS && situation.isRestarted)
        lists.push_back(Expected<Record>({situation.adapter, NO_VERSION, ports, situation.linkStates}));
    for (const auto& state : situation.states)
        if (state.present)
            lists.push_back(Expected<Record>({situation.adapter, state.version, ports, situation.linkStates}));
    return lists;
}

} // namespace

template <class Record> std::string Judge(const Situation& situation, const std::vector<Record>& records) {
    const bool isGone = situation.exact && !situation.states.front().listed;
    if constexpr (std::is_same_v<Record, QEL_FCOE_HBA>) {
        if (records.size() != 1)
            return fmt::format("{} records of one adapter", records.size());
        if (IsEmpty(records.front().strDeviceId))
            return situation.exact && !isGone ? "an empty record" : "";
    }
    if (isGone)
        return records.empty() ? "" : "a record of an adapter that is not there: " + Text(records.front());
    if (std::string problem = JudgeNames(situation, records); !problem.empty())
        return problem;

    const auto virtualPorts = VirtualPorts(situation, records);
    const auto expected = ExpectedLists<Record>(situation, virtualPorts);
    std::vector<QEL_FCOE_PORT> ports;
    for (const auto& list : ExpectedLists<QEL_FCOE_PORT>(situation, virtualPorts))
        ports.insert(ports.end(), list.begin(), list.end());
    std::map<std::string, std::set<std::size_t>> lists; // those that a list of the answer can be
    std::set<std::string> keys;
    for (const Record& record : records) {
        auto& of = lists[Kind<Record>::List(record)];
        if (of.empty())
            for (std::size_t i = 0; i < expected.size(); ++i)
                of.insert(i);
        if (std::string problem = JudgeRecord(situation, expected, ports, record, of); !problem.empty())
            return problem;
        if (!keys.insert(Kind<Record>::Key(record)).second)
            return "twice the same: " + Text(record);
    }
    if constexpr (!std::is_same_v<Record, QEL_FCOE_HBA>)
        if (situation.exact)
            return JudgeWhole(expected.front(), records);
    return {};
}

template <class Record>
std::string JudgeAll(const std::vector<Situation>& situations, const std::vector<Record>& records) {
    std::vector<std::vector<Record>> byAdapter(situations.size());
    unsigned last = 0;
    std::size_t unread = 0; // adapters that could not be read
    for (const Record& record : records) {
        if (IsEmpty(record.strDeviceId)) {
            ++unread;
            continue;
        }
        unsigned adapter = 0;
        while (adapter < situations.size() && std::wstring(record.strDeviceId) != Identifier(adapter))
            ++adapter;
        if (adapter == situations.size())
            return "an unknown adapter: " + Text(record);
        if (adapter < last)
            return "adapters in a wrong order: " + Text(record);
        last = adapter;
        byAdapter[adapter].push_back(record);
    }
    std::size_t uncertain = 0;
    for (const Situation& situation : situations) {
        auto& own = byAdapter[situation.adapter];
        const auto IsListed = [](const Situation::State& state) { return state.listed; };
        if (!own.empty() && std::none_of(situation.states.begin(), situation.states.end(), IsListed))
            return "an adapter that was not there: " + Text(own.front());
        if (!situation.exact)
            ++uncertain;
        if constexpr (std::is_same_v<Record, QEL_FCOE_HBA>)
            if (own.empty() && (!situation.exact || !situation.states.front().listed))
                continue;
        if (std::string problem = Judge(situation, own); !problem.empty())
            return fmt::format("adapter {}: {}", situation.adapter, problem);
    }
    if (unread > uncertain || (unread > 0 && !std::is_same_v<Record, QEL_FCOE_HBA>))
        return fmt::format("{} empty records", unread);
    return {};
}

#define INSTANTIATE(Record)                                                                                            \
    template std::string Judge(const Situation&, const std::vector<Record>&);                                          \
    template std::string JudgeAll(const std::vector<Situation>&, const std::vector<Record>&);
INSTANTIATE(QEL_FCOE_HBA)
INSTANTIATE(QEL_FCOE_FABRIC)
INSTANTIATE(QEL_FCOE_PORT)
INSTANTIATE(QEL_FCOE_TARGET)
INSTANTIATE(QEL_FCOE_VLAN)
INSTANTIATE(QEL_FCOE_LUN)
INSTANTIATE(QEL_FCOE_STATISTIC)

} // namespace soak
