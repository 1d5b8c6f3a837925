// What the vendor library is asked about one adapter, with the buffers of an agent.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include <fmt/format.h>

#include "tools/reading/Text.h"
#include "tools/recording/Questions.h"
#include "tools/recording/Texts.h"

namespace recording {
namespace {

constexpr HBA_UINT32 PORT_INDEX = 0;
constexpr std::size_t SCSI_BUFFER = 260; // of responses and of sense data
constexpr HBA_UINT8 EVPD = 1;
constexpr HBA_UINT32 UNIT_SERIAL_NUMBER_PAGE = 0x80;
constexpr std::size_t MAX_LIST = std::size_t{64} << 20; // bytes
// So many unit attentions of one unit are waited for in a row; an agent gives up after four.
constexpr int MAX_ATTENTIONS = 16;
constexpr HBA_UINT8 VIRTUAL_ADDRESSED = 3; // the port type that sees targets under an address of its own

Bytes BytesOf(const void* from, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    return {bytes, bytes + size};
}

bool IsZero(std::span<const std::uint8_t> bytes) {
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

// Without the zeros at its end, but as long as it says itself.
Bytes Response(const std::uint8_t (&buffer)[SCSI_BUFFER], std::size_t said) {
    std::size_t size = SCSI_BUFFER;
    while (size > 0 && buffer[size - 1] == 0)
        --size;
    return BytesOf(buffer, size == 0 ? 0 : std::max(size, std::min(said, SCSI_BUFFER)));
}

// Of a call that fills a record: nothing when it left it as it was.
template <class Record> void TakeRecord(Reply& reply, const Record& record) {
    if (reply.status == HBA_STATUS_OK || !IsZero({reinterpret_cast<const std::uint8_t*>(&record), sizeof record}))
        reply.data = BytesOf(&record, sizeof record);
}

template <class List> using EntryOf = std::remove_extent_t<decltype(List::entry)>;

} // namespace

bool AdapterQuestions::Bind(Session& session, const LoadedModule& library, HBA_ENTRYPOINTSV2& table) {
    if (const auto initialize = library.Find<decltype(&ORVAN_InitializeLibrary)>("ORVAN_InitializeLibrary")) {
        const auto reply =
            session.Ask({.function = "ORVAN_InitializeLibrary"}, [&](Reply& answer) { answer.status = initialize(); });
        if (!reply || !reply->IsGood())
            return false;
    }
    if (const auto getTable = library.Find<decltype(&HBA_RegisterLibraryV2)>("HBA_RegisterLibraryV2")) {
        const auto reply = session.Ask({.function = "HBA_RegisterLibraryV2"}, [&](Reply& answer) {
            const HBA_STATUS status = getTable(&table);
            // An agent looks at the table alone, which stays from one time to the next.
            constexpr HBA_ENTRYPOINTSV2 EMPTY{};
            answer.status = std::memcmp(&table, &EMPTY, sizeof table) == 0 ? status : HBA_STATUS_OK;
        });
        return reply && !reply->threw;
    }
    return true;
}

bool AdapterQuestions::Open() {
    Close();
    const VendorTurn turn;
    if (!Bind(m_session, m_library, m_table))
        return false;
    const auto getInfo = m_library.Find<decltype(&ORVAN_GetFCoEControllerInfo)>("ORVAN_GetFCoEControllerInfo");
    const auto getHandle = m_library.Find<decltype(&ORVAN_GetFCoEControllerHandle)>("ORVAN_GetFCoEControllerHandle");
    if (!getInfo)
        return false;
    char name[ORVAN_NAME_SIZE] = {};
    const std::wstring device = L"\\DEVICE\\" + reading::FromUtf8(m_adapter);
    const auto info = m_session.Ask(Of("ORVAN_GetFCoEControllerInfo"), [&](Reply& reply) {
        constexpr HBA_UINT32 UNTOUCHED = 0xFFFFFFFF;
        HBA_UINT32 controller = UNTOUCHED;
        reply.status = getInfo(device.c_str(), &controller, name);
        if (controller != UNTOUCHED)
            reply.controller = controller;
        if (!IsZero({reinterpret_cast<const std::uint8_t*>(name), sizeof name}))
            reply.data = BytesOf(name, sizeof name);
    });
    name[sizeof name - 1] = '\0';
    if (!info || !info->IsGood() || !getHandle)
        return false;
    Request request = Of("ORVAN_GetFCoEControllerHandle");
    request.target = FromAnsi(name);
    m_session.Ask(request, [&](Reply& reply) {
        m_handle = getHandle(name);
        reply.status = m_handle == HBA_HANDLE_INVALID ? HBA_STATUS_ERROR : HBA_STATUS_OK;
    });
    return m_handle != HBA_HANDLE_INVALID;
}

void AdapterQuestions::Close() {
    if (m_handle == HBA_HANDLE_INVALID || !m_table.CloseAdapterHandler)
        return;
    const HBA_HANDLE handle = m_handle;
    m_handle = HBA_HANDLE_INVALID;
    try {
        m_session.Ask(Of("CloseAdapter"), [&](Reply&) { m_table.CloseAdapterHandler(handle); });
    } catch (...) { // also at the end of a thread that was given up
    }
}

void AdapterQuestions::AskRecord() {
    if (!Open())
        return;
    bool isOnline = false;
    if (const auto get = m_table.GetAdapterPortAttributesHandler)
        m_session.Ask(Of("GetAdapterPortAttributes"), [&](Reply& reply) {
            HBA_PORTATTRIBUTES record{};
            reply.status = get(m_handle, PORT_INDEX, &record);
            isOnline = record.PortState == HBA_PORTSTATE_ONLINE;
            TakeRecord(reply, record);
        });
    if (const auto get = m_table.GetAdapterAttributesHandler)
        m_session.Ask(Of("GetAdapterAttributes"), [&](Reply& reply) {
            HBA_ADAPTERATTRIBUTES record{};
            reply.status = get(m_handle, &record);
            TakeRecord(reply, record);
        });
    ORVAN_FC_NIC_PROPERTIES properties{};
    if (const auto get = m_library.Find<decltype(&ORVAN_GetFCAndNICProperties)>("ORVAN_GetFCAndNICProperties"))
        m_session.Ask(Of("ORVAN_GetFCAndNICProperties"), [&](Reply& reply) {
            reply.status = get(m_handle, &properties);
            TakeRecord(reply, properties);
        });
    const std::string instance = FromAnsi(InArray(properties.NetworkInstance));
    const auto guid = instance.find('{');
    AskPci(m_session, m_adapter, guid == std::string::npos ? m_adapter : instance.substr(guid));
    if (isOnline)
        AskDcb(m_session, m_adapter);
}

template <class List> struct AdapterQuestions::ListRead {
    HBA_STATUS status = HBA_STATUS_ERROR; // also when it could not be read
    std::uint32_t count = 0;
    std::vector<std::uint64_t> buffer;

    bool HasMore() const { return status == HBA_STATUS_ERROR_MORE_DATA; }
    // Never more than there was room for.
    std::vector<EntryOf<List>> Entries(std::uint32_t room) const {
        const auto* const list = reinterpret_cast<const List*>(buffer.data());
        return {list->entry, list->entry + std::min(count, room)};
    }
};

template <class List>
AdapterQuestions::ListRead<List> AdapterQuestions::ReadList(const char* function, HBA_STATUS (*ask)(HBA_HANDLE, List*),
                                                            std::uint32_t room, std::uint8_t unfilled) {
    constexpr std::size_t HEAD = offsetof(List, entry);
    constexpr std::size_t ENTRY = sizeof(EntryOf<List>);
    ListRead<List> read;
    if (room > MAX_LIST / ENTRY) {
        m_session.Tell([&](Journal& journal) {
            journal.Note(
                fmt::format("{} of {} claims {} entries; they were not asked for.", function, m_adapter, room));
        });
        return read;
    }
    read.buffer.assign((HEAD + room * ENTRY) / sizeof(std::uint64_t) + 1, 0);
    auto* const list = reinterpret_cast<List*>(read.buffer.data());
    auto* const entries = reinterpret_cast<std::uint8_t*>(read.buffer.data()) + HEAD;
    std::memset(entries, unfilled, room * ENTRY);
    list->NumberOfEntries = room;
    Request request = Of(function);
    request.room = room;
    m_session.Ask(request, [&](Reply& answer) {
        answer.status = ask(m_handle, list);
        if (list->NumberOfEntries != room)
            answer.count = list->NumberOfEntries;
        // Entries that were not filled in at its end are none.
        std::size_t filled = room;
        const auto isUnfilled = [&](std::uint8_t byte) { return byte == unfilled; };
        while (filled > 0 && std::all_of(entries + (filled - 1) * ENTRY, entries + filled * ENTRY, isUnfilled))
            --filled;
        answer.data = BytesOf(entries, filled * ENTRY);
        read.status = answer.status;
        read.count = list->NumberOfEntries;
    });
    return read;
}

// As an agent reads its lists: with room for one entry, then with room for as many as there are.
template <class List> auto AdapterQuestions::AskList(const char* function, HBA_STATUS (*ask)(HBA_HANDLE, List*)) {
    using Entries = std::vector<EntryOf<List>>;
    if (!ask)
        return Entries();
    const ListRead<List> probe = ReadList(function, ask, 1, 0);
    if (probe.HasMore() && probe.count != 0) {
        const ListRead<List> whole = ReadList(function, ask, probe.count, 0);
        return whole.status == HBA_STATUS_OK ? whole.Entries(probe.count) : Entries();
    }
    // A success with more entries than there was room for is none.
    return probe.status == HBA_STATUS_OK && probe.count <= 1 ? probe.Entries(1) : Entries();
}

// The port list is read twice whatever its first count is, the second time into entries that look like no port.
std::vector<ORVAN_FC_PORT> AdapterQuestions::AskPorts() {
    constexpr std::uint8_t UNFILLED = 0xFF;
    constexpr char FUNCTION[] = "ORVAN_GetFCPortList";
    const auto ask = m_library.Find<decltype(&ORVAN_GetFCPortList)>(FUNCTION);
    const VendorTurn turn;
    if (!ask)
        return {};
    const auto probe = ReadList(FUNCTION, ask, 1, 0);
    if (probe.count == 0 || (probe.status != HBA_STATUS_OK && !probe.HasMore()))
        return {};
    const auto whole = ReadList(FUNCTION, ask, probe.count, UNFILLED);
    return whole.buffer.empty() ? std::vector<ORVAN_FC_PORT>() : whole.Entries(probe.count);
}

void AdapterQuestions::AskFabrics() {
    if (!Open())
        return;
    const auto ports = AskPorts();
    for (const bool areVirtual : {false, true}) // fabric by fabric
        for (const ORVAN_FC_PORT& port : ports)
            if (port.PortType <= VIRTUAL_ADDRESSED && (port.PortType >= 2) == areVirtual)
                AskTargets(port);
}

void AdapterQuestions::AskTargets(const ORVAN_FC_PORT& port) {
    const auto targets =
        AskList("ORVAN_GetTargetList", m_library.Find<decltype(&ORVAN_GetTargetList)>("ORVAN_GetTargetList"));
    std::vector<const ORVAN_TARGET_ENTRY*> seen;
    for (const ORVAN_TARGET_ENTRY& target : targets) {
        if (target.InitiatorPortType != port.PortType ||
            (port.PortType == VIRTUAL_ADDRESSED && target.FcId != port.WordB) ||
            std::memcmp(&target.InitiatorPortWWN, &port.PortWWN, sizeof port.PortWWN) != 0)
            continue;
        AskInquiry(target.PortWWN, EVPD, UNIT_SERIAL_NUMBER_PAGE);
        AskInquiry(target.PortWWN, 0, 0);
        seen.push_back(&target);
    }
    for (const ORVAN_TARGET_ENTRY* target : seen)
        AskUnits(*target);
}

void AdapterQuestions::AskInquiry(const HBA_WWN& port, HBA_UINT8 evpd, HBA_UINT32 page) {
    const auto inquire = m_table.ScsiInquiryHandler;
    if (!inquire)
        return;
    Request request = Of("ScsiInquiry");
    request.target = WwnText(port);
    request.evpd = evpd;
    request.page = page;
    m_session.Ask(request, [&](Reply& reply) {
        std::uint8_t data[SCSI_BUFFER] = {};
        std::uint8_t sense[SCSI_BUFFER] = {};
        reply.status = inquire(m_handle, port, 0, evpd, page, data, SCSI_BUFFER, sense, SCSI_BUFFER);
        reply.data = Response(data, evpd ? std::size_t{4} + data[3] : std::size_t{5} + data[4]);
        reply.sense = Response(sense, 0);
    });
}

void AdapterQuestions::AskUnits(const ORVAN_TARGET_ENTRY& target) {
    for (const HBA_FCPSCSIENTRY& entry : AskList("GetFcpTargetMapping", m_table.GetFcpTargetMappingHandler))
        if (entry.ScsiId.ScsiBusNumber == target.ScsiBusNumber &&
            entry.ScsiId.ScsiTargetNumber == target.ScsiTargetNumber && entry.FcpId.FcId == target.FcId &&
            std::memcmp(&entry.FcpId.PortWWN, &target.PortWWN, sizeof target.PortWWN) == 0)
            AskCapacity(target.InitiatorPortWWN, entry.FcpId);
}

// Until there is an answer that is no unit attention, with the sizes that the library wrote back.
void AdapterQuestions::AskCapacity(const HBA_WWN& initiator, const HBA_FCPID& unit) {
    const auto read = m_table.ScsiReadCapacityV2Handler;
    if (!read)
        return;
    Request request = Of("ScsiReadCapacityV2");
    request.target = WwnText(unit.PortWWN);
    request.lun = unit.FcpLun;
    for (int attention = 0; attention < MAX_ATTENTIONS; ++attention) {
        const auto reply = m_session.Ask(request, [&](Reply& answer) {
            constexpr HBA_UINT8 UNTOUCHED = 0xFF;
            std::uint8_t data[SCSI_BUFFER] = {};
            std::uint8_t sense[SCSI_BUFFER] = {};
            HBA_UINT32 size = SCSI_BUFFER;
            HBA_UINT32 senseSize = SCSI_BUFFER;
            HBA_UINT8 scsiStatus = UNTOUCHED;
            answer.status =
                read(m_handle, initiator, unit.PortWWN, unit.FcpLun, data, &size, &scsiStatus, sense, &senseSize);
            if (size != SCSI_BUFFER)
                answer.size = size;
            if (senseSize != SCSI_BUFFER)
                answer.senseSize = senseSize;
            if (scsiStatus != UNTOUCHED)
                answer.scsiStatus = scsiStatus;
            answer.data = Response(data, size == SCSI_BUFFER ? 0 : size);
            answer.sense = Response(sense, senseSize == SCSI_BUFFER ? 0 : senseSize);
        });
        if (!reply || reply->threw || reply->status != HBA_STATUS_SCSI_CHECK_CONDITION)
            return;
    }
}

void AdapterQuestions::AskVlans() {
    if (Open())
        AskList("ORVAN_GetVlanIdList", m_library.Find<decltype(&ORVAN_GetVlanIdList)>("ORVAN_GetVlanIdList"));
}

void AdapterQuestions::AskStatistics() {
    if (!Open() || !m_table.GetPortStatisticsHandler)
        return;
    m_session.Ask(Of("GetPortStatistics"), [&](Reply& reply) {
        HBA_PORTSTATISTICS record{};
        reply.status = m_table.GetPortStatisticsHandler(m_handle, PORT_INDEX, &record);
        TakeRecord(reply, record);
    });
}

} // namespace recording
