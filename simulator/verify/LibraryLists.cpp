// The counted lists of an adapter, asked for as the agent does: with room for one entry, then with room for all.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>

#include "simulator/verify/GuardedBuffer.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

constexpr std::size_t MOST_BYTES = 256u << 20;

struct ListKind {
    std::string_view function;
    std::size_t size;       // of a list with one entry
    std::size_t firstEntry; // where it begins
    std::size_t entrySize;
    std::size_t step;        // what each entry after the first adds to the agent's buffer
    bool underMutex = false; // and its count is looked at whether the status is 0 or 7
    std::function<HBA_STATUS(HBA_HANDLE, void*)> call;
};

struct ListAnswer {
    HBA_STATUS status = HBA_STATUS_OK;
    HBA_UINT32 count = 0;
    std::vector<std::uint8_t> entries; // as many as there was room for
};

class ListQuestion {
  public:
    ListQuestion(Library& library, const OpenedAdapter& adapter, const ListKind& kind)
        : m_library(library), m_adapter(adapter), m_kind(kind) {}

    // The bytes of the entries; none: there is no list, which is told.
    std::optional<std::vector<std::uint8_t>> Ask() {
        ListAnswer first, second;
        if (!Read(1, ZEROS, first) || !Read(1, ZEROS, second) || !SameAnswers(first, second))
            return std::nullopt;
        if (first.status == HBA_STATUS_OK && first.count <= 1)
            return Kept(Checked(first, second, first.count), 1, first.count);
        if (first.status != HBA_STATUS_OK && first.status != HBA_STATUS_ERROR_MORE_DATA)
            return Told("status", fmt::format("status {}", first.status));
        if (first.count <= 1)
            return Told("count_not_written", fmt::format("status 7, count {}", first.count));
        if (first.status == HBA_STATUS_OK) {
            Told("no_more_data", fmt::format("status 0, count {}", first.count));
            if (!m_kind.underMutex)
                return std::nullopt;
        }
        return AskForAll(first.count);
    }

  private:
    std::nullopt_t Told(std::string_view code, const std::string& found) {
        m_library.asker.Tell(code, m_kind.function, m_adapter.identifier, found);
        return std::nullopt;
    }
    std::size_t SizeFor(HBA_UINT32 room) const { return m_kind.size + (std::max(room, 1u) - 1) * m_kind.step; }

    ListAnswer ReadNow(HBA_UINT32 room, std::uint8_t fill) const {
        GuardedBuffer buffer(SizeFor(room), fill);
        auto* count = buffer.As<HBA_UINT32>();
        *count = room;
        ListAnswer answer;
        answer.status = m_kind.call(m_adapter.handle, buffer.As<void>());
        answer.count = *count;
        const auto entries = buffer.Bytes().subspan(m_kind.firstEntry, room * m_kind.entrySize);
        answer.entries.assign(entries.begin(), entries.end());
        return answer;
    }
    bool Read(HBA_UINT32 room, std::uint8_t fill, ListAnswer& answer) const {
        const VendorMutex mutex(m_library.asker, m_kind.underMutex);
        return m_library.asker.Ask(m_kind.function, m_adapter.identifier, [&] { answer = ReadNow(room, fill); });
    }
    bool SameAnswers(const ListAnswer& first, const ListAnswer& second) {
        if (!SameStatus(m_library.asker, {m_kind.function, m_adapter.identifier, {}}, first.status, second.status))
            return false;
        if (first.count != second.count)
            Told("other_answer", fmt::format("count {}, then {}", first.count, second.count));
        return first.count == second.count;
    }

    std::optional<std::vector<std::uint8_t>> AskForAll(HBA_UINT32 count) {
        if (SizeFor(count) > MOST_BYTES)
            return Told("count_too_large", fmt::format("count {}", count));
        ListAnswer first, second;
        if (!Read(count, ZEROS, first) || !Read(count, ZEROS, second) || !SameAnswers(first, second))
            return std::nullopt;
        if (first.status != HBA_STATUS_OK)
            return Told("retry", fmt::format("status {} with room for {}", first.status, count));
        if (first.count != count)
            return Told("other_answer", fmt::format("count {}, then {}", count, first.count));
        return Kept(Checked(first, second, count), count, count);
    }

    // What an entry that was not written looks like depends on what was there before.
    std::optional<std::vector<std::uint8_t>> Checked(const ListAnswer& first, const ListAnswer& second,
                                                     HBA_UINT32 count) {
        if (first.entries != second.entries)
            Told("other_answer", "the entries differ");
        ListAnswer patterned;
        const auto isAll = [&](const ListAnswer& answer, std::size_t entry, std::uint8_t value) {
            return IsAll(answer.entries.data() + entry * m_kind.entrySize, m_kind.entrySize, value);
        };
        for (HBA_UINT32 i = 0; i < count; ++i) {
            if (!isAll(first, i, ZEROS))
                continue;
            if (patterned.entries.empty() && !Read(std::max(count, 1u), PATTERN, patterned))
                return std::nullopt;
            if (isAll(patterned, i, PATTERN))
                return Told("entry_not_written", fmt::format("entry {} of {}", i + 1, count));
        }
        auto entries = first.entries;
        entries.resize(count * m_kind.entrySize);
        return entries;
    }

    // For the threads. The list under the mutex is never read by two at once.
    std::optional<std::vector<std::uint8_t>> Kept(std::optional<std::vector<std::uint8_t>> entries, HBA_UINT32 room,
                                                  HBA_UINT32 count) {
        if (entries && !m_kind.underMutex)
            m_library.readings.push_back(
                {m_kind.function, m_adapter.identifier, [question = *this, room, count](std::uint8_t fill) {
                     const ListAnswer answer = question.ReadNow(room, fill);
                     return Answer{answer.count == count ? answer.status : HBA_STATUS_ERROR_MORE_DATA, answer.entries};
                 }});
        return entries;
    }

    Library& m_library;
    const OpenedAdapter& m_adapter;
    ListKind m_kind;
};

template <class List, class Function> ListKind KindOf(std::string_view name, Function function) {
    return {name,
            sizeof(List),
            offsetof(List, entry),
            sizeof(List::entry),
            sizeof(List::entry),
            false,
            [function](HBA_HANDLE handle, void* list) { return function(handle, static_cast<List*>(list)); }};
}

template <class Entry> std::optional<std::vector<Entry>> EntriesOf(ListQuestion question) {
    const auto bytes = question.Ask();
    if (!bytes)
        return std::nullopt;
    std::vector<Entry> entries(bytes->size() / sizeof(Entry));
    if (!entries.empty())
        std::memcpy(entries.data(), bytes->data(), bytes->size());
    return entries;
}

bool Same(const HBA_WWN& left, const HBA_WWN& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

// As the agent looks for the port of a target.
bool IsSeenThrough(const ORVAN_TARGET_ENTRY& target, const ORVAN_FC_PORT& port) {
    constexpr HBA_UINT8 VIRTUAL_ADDRESSED = 3;
    return target.InitiatorPortType == port.PortType &&
           (port.PortType != VIRTUAL_ADDRESSED || target.FcId == port.WordB) &&
           Same(target.InitiatorPortWWN, port.PortWWN);
}

bool IsUnitOf(const HBA_FCPSCSIENTRY& unit, const ORVAN_TARGET_ENTRY& target) {
    return unit.ScsiId.ScsiBusNumber == target.ScsiBusNumber &&
           unit.ScsiId.ScsiTargetNumber == target.ScsiTargetNumber && unit.FcpId.FcId == target.FcId &&
           Same(unit.FcpId.PortWWN, target.PortWWN);
}

class Lists {
  public:
    Lists(Library& library, const OpenedAdapter& adapter) : m_library(library), m_adapter(adapter) {}

    void Ask() {
        const LibraryFunctions& functions = m_library.functions;
        if (functions.portList) {
            ListKind kind = KindOf<ORVAN_FC_PORT_LIST>("ORVAN_GetFCPortList", functions.portList);
            kind.underMutex = true;
            m_ports = EntriesOf<ORVAN_FC_PORT>({m_library, m_adapter, kind});
        }
        if (functions.vlanList) {
            ListKind kind = KindOf<ORVAN_VLAN_LIST>("ORVAN_GetVlanIdList", functions.vlanList);
            kind.step = 8; // the agent's buffer has more room than an entry takes
            EntriesOf<HBA_UINT32>({m_library, m_adapter, kind});
        }
        if (functions.targetList)
            m_targets = EntriesOf<ORVAN_TARGET_ENTRY>(
                {m_library, m_adapter, KindOf<ORVAN_TARGET_LIST>("ORVAN_GetTargetList", functions.targetList)});
        if (functions.table.GetFcpTargetMappingHandler)
            m_units = EntriesOf<HBA_FCPSCSIENTRY>(
                {m_library, m_adapter,
                 KindOf<HBA_FCPTARGETMAPPING>("GetFcpTargetMapping", functions.table.GetFcpTargetMappingHandler)});
        CheckPorts();
        CheckTargets();
        CheckUnits();
    }

    // So many devices at most: a fabric may have thousands.
    void AskDevices() {
        constexpr std::size_t MOST_TARGETS = 64, MOST_UNITS = 256;
        std::vector<HBA_WWN> asked;
        for (const auto& target : m_targets.value_or(std::vector<ORVAN_TARGET_ENTRY>())) {
            const auto before =
                std::ranges::find_if(asked, [&](const HBA_WWN& one) { return Same(one, target.PortWWN); });
            if (before != asked.end() || asked.size() == MOST_TARGETS)
                continue;
            AskTarget(m_library, m_adapter, target, asked.empty());
            asked.push_back(target.PortWWN);
        }
        std::size_t units = 0;
        for (const auto& unit : m_units.value_or(std::vector<HBA_FCPSCSIENTRY>())) {
            if (units++ == MOST_UNITS)
                break;
            AskUnit(m_library, m_adapter, InitiatorOf(unit), unit.FcpId, units == 1);
        }
    }

  private:
    void Tell(std::string_view code, std::string_view function, const std::string& found) {
        m_library.asker.Tell(code, function, m_adapter.identifier, found);
    }
    HBA_WWN InitiatorOf(const HBA_FCPSCSIENTRY& unit) const {
        for (const auto& target : m_targets.value_or(std::vector<ORVAN_TARGET_ENTRY>())) {
            if (IsUnitOf(unit, target))
                return target.InitiatorPortWWN;
        }
        return m_adapter.portWwn;
    }
    void CheckPorts() {
        constexpr HBA_UINT8 LAST_TYPE = 3;
        for (const auto& port : m_ports.value_or(std::vector<ORVAN_FC_PORT>())) {
            if (port.PortType > LAST_TYPE)
                Tell("port_type", "ORVAN_GetFCPortList",
                     fmt::format("{} has type {}", TextOf(port.PortWWN), port.PortType));
        }
    }
    void CheckTargets() {
        if (!m_ports || !m_targets)
            return;
        for (const auto& target : *m_targets) {
            if (std::ranges::none_of(*m_ports, [&](const auto& port) { return IsSeenThrough(target, port); }))
                Tell("unseen_target", "ORVAN_GetTargetList",
                     fmt::format("{} through {}", TextOf(target.PortWWN), TextOf(target.InitiatorPortWWN)));
        }
    }
    void CheckUnits() {
        for (const auto& unit : m_units.value_or(std::vector<HBA_FCPSCSIENTRY>())) {
            if (m_targets &&
                std::ranges::none_of(*m_targets, [&](const auto& target) { return IsUnitOf(unit, target); }))
                Tell("unseen_lun", "GetFcpTargetMapping",
                     fmt::format("LUN {} of {}", unit.ScsiId.ScsiOSLun, TextOf(unit.FcpId.PortWWN)));
            if (!std::memchr(unit.ScsiId.OSDeviceName, 0, sizeof unit.ScsiId.OSDeviceName))
                Tell("unterminated", "GetFcpTargetMapping",
                     fmt::format("LUN {} of {}", unit.ScsiId.ScsiOSLun, TextOf(unit.FcpId.PortWWN)));
        }
    }

    Library& m_library;
    const OpenedAdapter& m_adapter;
    std::optional<std::vector<ORVAN_FC_PORT>> m_ports;
    std::optional<std::vector<ORVAN_TARGET_ENTRY>> m_targets;
    std::optional<std::vector<HBA_FCPSCSIENTRY>> m_units;
};

} // namespace

void AskLists(Library& library, const OpenedAdapter& adapter) {
    Lists lists(library, adapter);
    lists.Ask();
    lists.AskDevices();
}

} // namespace verify
