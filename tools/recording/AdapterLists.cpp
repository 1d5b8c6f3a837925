// The part of an adapter's model that is made of lists: ports, targets with their units, VLANs.
#include <algorithm>
#include <array>

#include "tools/recording/AdapterModel.h"
#include "tools/recording/Texts.h"

namespace recording {
namespace {

constexpr std::uint8_t LAST_PORT_TYPE = 3;
constexpr std::uint8_t CHECK_CONDITION = 2; // a SCSI status
constexpr std::size_t CAPACITY_10 = 8;      // bytes of the response
constexpr std::size_t CAPACITY_16 = 32;

bool IsVirtual(const ORVAN_FC_PORT& port) {
    return port.PortType >= 2;
}

bool IsSame(const HBA_WWN& left, const HBA_WWN& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

// The simulated suite's list, one entry after the other, its unused bytes zero.
template <class Entry> Entry Clean(const Entry&);

template <> ORVAN_FC_PORT Clean(const ORVAN_FC_PORT& from) {
    ORVAN_FC_PORT to{};
    to.NodeWWN = from.NodeWWN;
    to.PortWWN = from.PortWWN;
    to.PortType = from.PortType;
    to.WordA = from.WordA;
    to.WordB = from.WordB;
    std::ranges::copy(from.Identifier, to.Identifier);
    to.Word56 = from.Word56;
    to.Number = from.Number;
    to.Byte62 = from.Byte62;
    return to;
}

template <> ORVAN_TARGET_ENTRY Clean(const ORVAN_TARGET_ENTRY& from) {
    ORVAN_TARGET_ENTRY to{};
    to.ScsiBusNumber = from.ScsiBusNumber;
    to.ScsiTargetNumber = from.ScsiTargetNumber;
    to.NodeWWN = from.NodeWWN;
    to.PortWWN = from.PortWWN;
    to.InitiatorPortWWN = from.InitiatorPortWWN;
    to.InitiatorPortType = from.InitiatorPortType;
    to.FcId = from.FcId;
    to.Number = from.Number;
    return to;
}

// The text of plain ASCII that the entry's name can be described by.
std::string NameOf(const HBA_FCPSCSIENTRY& entry) {
    std::string name(InArray(entry.ScsiId.OSDeviceName));
    std::ranges::replace_if(
        name, [](char c) { return static_cast<unsigned char>(c) >= 0x80; }, '?');
    return name;
}

bool IsOf(const HBA_FCPSCSIENTRY& entry, const ORVAN_TARGET_ENTRY& target) {
    return entry.ScsiId.ScsiBusNumber == target.ScsiBusNumber &&
           entry.ScsiId.ScsiTargetNumber == target.ScsiTargetNumber && entry.FcpId.FcId == target.FcId &&
           IsSame(entry.FcpId.NodeWWN, target.NodeWWN) && IsSame(entry.FcpId.PortWWN, target.PortWWN);
}

std::uint64_t BigEndian(const Bytes& bytes, std::size_t at, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = number << 8 | bytes[at + i];
    return number;
}

// The unit attention of the simulated suite: a reset occurred.
Reply Attention() {
    Reply reply;
    reply.status = HBA_STATUS_SCSI_CHECK_CONDITION;
    reply.scsiStatus = CHECK_CONDITION;
    reply.sense.assign(18, 0);
    reply.sense[0] = 0x70;
    reply.sense[2] = 6;
    reply.sense[7] = 10;
    reply.sense[12] = 0x29;
    reply.senseSize = 18;
    return reply;
}

} // namespace

template <class Entry> std::vector<Entry> AdapterModel::LastList(const char* function) const {
    const Reply* best = nullptr;
    std::uint32_t length = 0;
    Request request{.function = function, .adapter = m_facts.identifier};
    for (auto at = m_journal.replies.lower_bound(request);
         at != m_journal.replies.end() && at->first.function == function && at->first.adapter == m_facts.identifier;
         ++at) {
        const Reply& reply = at->second.back().reply;
        const std::uint32_t count = reply.count.value_or(at->first.room);
        if (reply.IsGood() && count <= at->first.room && count >= length) {
            best = &reply;
            length = count;
        }
    }
    std::vector<Entry> entries(length);
    if (best)
        std::memcpy(static_cast<void*>(entries.data()), best->data.data(),
                    std::min(best->data.size(), length * sizeof(Entry)));
    return entries;
}

template <class Entry> void AdapterModel::ExpectList(const char* function, const std::vector<Entry>& entries) {
    List& list = m_lists[function];
    list.entrySize = sizeof(Entry);
    for (const Entry& entry : entries) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&entry);
        list.entries.emplace_back(bytes, bytes + sizeof entry);
    }
}

// Physical ports come first, names are unique.
void AdapterModel::DescribePorts() {
    std::vector<ORVAN_FC_PORT> listed;
    m_json["ports"] = Json::array();
    for (const ORVAN_FC_PORT& port : LastList<ORVAN_FC_PORT>("ORVAN_GetFCPortList")) {
        if (port.PortType > LAST_PORT_TYPE || std::ranges::any_of(listed, [&](const ORVAN_FC_PORT& known) {
                return IsSame(known.PortWWN, port.PortWWN);
            }))
            continue;
        listed.push_back(Clean(port));
        Json names = Json::array();
        for (const HBA_WWN& name : port.Identifier)
            names.push_back(WwnText(name));
        m_json["ports"].push_back({{"type", port.PortType},
                                   {"node_wwn", WwnText(port.NodeWWN)},
                                   {"port_wwn", WwnText(port.PortWWN)},
                                   {"word_a", port.WordA},
                                   {"word_b", port.WordB},
                                   {"identifiers", names},
                                   {"word_56", port.Word56},
                                   {"number", port.Number},
                                   {"byte_62", port.Byte62}});
    }
    std::stable_partition(listed.begin(), listed.end(), [](const ORVAN_FC_PORT& port) { return !IsVirtual(port); });
    ExpectList("ORVAN_GetFCPortList", listed);
}

void AdapterModel::DescribeVlans() {
    const auto entries = LastList<HBA_UINT32>("ORVAN_GetVlanIdList");
    for (const HBA_UINT32 entry : entries)
        m_json["vlans"].push_back({{"id", entry & 0xFFFF}, {"state", entry >> 16}});
    ExpectList("ORVAN_GetVlanIdList", entries);
}

void AdapterModel::DescribeTargets() {
    std::vector<ORVAN_TARGET_ENTRY> listed;
    for (const ORVAN_TARGET_ENTRY& entry : LastList<ORVAN_TARGET_ENTRY>("ORVAN_GetTargetList"))
        if (entry.InitiatorPortType <= LAST_PORT_TYPE)
            listed.push_back(Clean(entry));
    ExpectList("ORVAN_GetTargetList", listed);
    m_targets.reserve(listed.size());
    for (const ORVAN_TARGET_ENTRY& entry : listed) {
        Json json = {{"bus", entry.ScsiBusNumber},
                     {"target", entry.ScsiTargetNumber},
                     {"node_wwn", WwnText(entry.NodeWWN)},
                     {"port_wwn", WwnText(entry.PortWWN)},
                     {"initiator_wwn", WwnText(entry.InitiatorPortWWN)},
                     {"initiator_type", entry.InitiatorPortType},
                     {"fc_id", entry.FcId},
                     {"number", entry.Number}};
        Target& target = m_targets.emplace_back();
        target.wwn = WwnText(entry.PortWWN);
        DescribeResponses(json, target);
        m_json["targets"].push_back(std::move(json));
    }
    DescribeUnits(listed);
}

void AdapterModel::DescribeResponses(Json& json, Target& target) {
    const auto take = [&](const char* key, std::uint32_t evpd, std::uint32_t page, Bytes& bytes) {
        const auto* const runs = Runs({.function = "ScsiInquiry",
                                       .adapter = m_facts.identifier,
                                       .target = target.wwn,
                                       .evpd = evpd,
                                       .page = page});
        for (std::size_t i = runs ? runs->size() : 0; i-- > 0 && bytes.empty();)
            if (const Reply& reply = (*runs)[i].reply; reply.IsGood())
                bytes = reply.data;
        if (!bytes.empty())
            json[key] = Hex(bytes);
    };
    take("inquiry", 0, 0, target.inquiry);
    take("vpd_80", 1, 0x80, target.serialPage);
}

// The mapping lists the units target by target, as the targets are listed.
void AdapterModel::DescribeUnits(const std::vector<ORVAN_TARGET_ENTRY>& targets) {
    std::vector<std::vector<HBA_FCPSCSIENTRY>> units(targets.size());
    std::size_t at = 0; // the target of the entry before
    for (const HBA_FCPSCSIENTRY& entry : LastList<HBA_FCPSCSIENTRY>("GetFcpTargetMapping")) {
        const auto takes = [&](std::size_t target) {
            return IsOf(entry, targets[target]) &&
                   std::ranges::none_of(units[target], [&](const HBA_FCPSCSIENTRY& known) {
                       return known.FcpId.FcpLun == entry.FcpId.FcpLun;
                   });
        };
        for (std::size_t step = 0; step < targets.size(); ++step)
            if (const std::size_t target = (at + step) % targets.size(); takes(target)) {
                at = target;
                units[target].push_back(entry);
                break;
            }
    }
    std::vector<HBA_FCPSCSIENTRY> listed;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        for (const HBA_FCPSCSIENTRY& entry : units[i]) {
            const std::string name = NameOf(entry);
            HBA_FCPSCSIENTRY& to = listed.emplace_back();
            std::memset(static_cast<void*>(&to), 0, sizeof to); // also what lies between its fields
            name.copy(to.ScsiId.OSDeviceName, sizeof to.ScsiId.OSDeviceName);
            to.ScsiId.ScsiBusNumber = entry.ScsiId.ScsiBusNumber;
            to.ScsiId.ScsiTargetNumber = entry.ScsiId.ScsiTargetNumber;
            to.ScsiId.ScsiOSLun = entry.ScsiId.ScsiOSLun;
            to.FcpId.FcId = entry.FcpId.FcId;
            to.FcpId.NodeWWN = entry.FcpId.NodeWWN;
            to.FcpId.PortWWN = entry.FcpId.PortWWN;
            to.FcpId.FcpLun = entry.FcpId.FcpLun;
            Json json = {{"os_lun", entry.ScsiId.ScsiOSLun}, {"fcp_lun", entry.FcpId.FcpLun}, {"os_device_name", name}};
            Unit& unit = m_targets[i].units.emplace_back();
            unit.lun = entry.FcpId.FcpLun;
            DescribeCapacity(json, m_targets[i].wwn, unit);
            m_json["targets"][i]["luns"].push_back(std::move(json));
        }
    }
    ExpectList("GetFcpTargetMapping", listed);
}

void AdapterModel::DescribeCapacity(Json& json, const std::string& wwn, Unit& unit) {
    const Request request{
        .function = "ScsiReadCapacityV2", .adapter = m_facts.identifier, .target = wwn, .lun = unit.lun};
    unit.capacity.scsiStatus = 0;
    unit.capacity.data.assign(CAPACITY_16, 0); // of one block of 512 bytes
    unit.capacity.data[10] = 2;
    unit.capacity.size = CAPACITY_16;
    const auto* const runs = Runs(request);
    const Reply* good = nullptr;
    if (runs)
        for (const Run& run : *runs)
            if (run.reply.IsGood() && !run.reply.data.empty())
                good = &run.reply;
    if (!good)
        return;
    const Bytes& data = good->data;
    const std::uint64_t last = data.size() == CAPACITY_16 ? BigEndian(data, 0, 8) : UINT64_MAX;
    if (last != UINT64_MAX && std::all_of(data.begin() + 12, data.end(), [](std::uint8_t byte) { return byte == 0; })) {
        json["blocks"] = last + 1;
        json["block_length"] = BigEndian(data, 8, 4);
    } else if (data.size() == CAPACITY_10) {
        json["read_capacity"] = 10;
        json["read_capacity_10"] = Hex(data);
    } else {
        json["read_capacity_16"] = Hex(data);
    }
    unit.capacity.data = data;
    unit.capacity.size = static_cast<std::uint32_t>(data.size());
    if (runs->size() == 2 && runs->front().reply == Attention() && runs->back().reply == unit.capacity) {
        json["check_conditions"] = runs->front().times;
        m_explained.insert(request);
    }
}

const AdapterModel::Target* AdapterModel::FindTarget(const std::string& wwn) const {
    const auto found = std::ranges::find(m_targets, wwn, &Target::wwn);
    return found == m_targets.end() ? nullptr : &*found;
}

std::optional<Reply> AdapterModel::ExpectedInquiry(const Request& request) const {
    const Target* const target = FindTarget(request.target);
    if (!target || request.lun != 0)
        return std::nullopt;
    Reply reply;
    reply.data = request.evpd ? target->serialPage : target->inquiry;
    // A target without a unit 0 whose INQUIRY data nobody recorded says in both that it has none.
    const bool says =
        target->inquiry.empty() && std::ranges::find(target->units, 0u, &Unit::lun) == target->units.end();
    return reply.data.empty() || says ? std::nullopt : std::optional(reply);
}

std::optional<Reply> AdapterModel::ExpectedCapacity(const Request& request) const {
    const Target* const target = FindTarget(request.target);
    if (!target)
        return std::nullopt;
    const auto unit = std::ranges::find(target->units, request.lun, &Unit::lun);
    return unit == target->units.end() ? std::nullopt : std::optional(unit->capacity);
}

std::optional<Reply> AdapterModel::Expected(const Request& request) const {
    if (request.function == "ScsiInquiry")
        return ExpectedInquiry(request);
    if (request.function == "ScsiReadCapacityV2")
        return ExpectedCapacity(request);
    if (const auto list = m_lists.find(request.function); list != m_lists.end()) {
        const auto& entries = list->second.entries;
        Reply reply;
        reply.status = entries.size() > request.room ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
        if (entries.size() != request.room)
            reply.count = static_cast<std::uint32_t>(entries.size());
        for (std::size_t i = 0; i < std::min<std::size_t>(entries.size(), request.room); ++i)
            reply.data.insert(reply.data.end(), entries[i].begin(), entries[i].end());
        return reply;
    }
    const auto record = m_records.find(request.function);
    return record == m_records.end() ? std::nullopt : std::optional(record->second);
}

} // namespace recording
