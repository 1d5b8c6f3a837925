// One call of the simulated vendor library: the shared beginning and end of its functions.
#pragma once

#include <algorithm>
#include <string>

#include "FcoeAgent/OrvanHbaApi.h"
#include "simulator/control/Call.h"
#include "simulator/orvanhapi/HandleTable.h"
#include "simulator/topology/Text.h"

namespace orvanhapi {

class LibraryCall : public sim::Call {
  public:
    // A call about no adapter.
    explicit LibraryCall(sim::Function function) : Call(function) {}
    // About one that is not known by a handle. find: as Call's.
    template <class Find> LibraryCall(sim::Function function, Find find) : Call(function, find) {}
    LibraryCall(sim::Function function, HBA_HANDLE handle)
        : Call(function, [&](const sim::Scene& scene) { return HandleTable::Instance().Find(scene, handle); }),
          m_byHandle(true) {
        Note("handle", handle);
    }

    // What the call ends with at once: a fault's status, a wrong topology, a handle that is not open. None: it goes on.
    std::optional<HBA_STATUS> Refusal() const {
        if (const auto status = Status())
            return status;
        if (!Scene().error.empty())
            return HBA_STATUS_ERROR;
        if (m_byHandle && !About())
            return HBA_STATUS_ERROR_INVALID_HANDLE;
        return std::nullopt;
    }
    // Ends a call that was refused, or one whose output is garbage.
    HBA_STATUS DoneEarly(const std::optional<HBA_STATUS>& refusal) { return Done(refusal.value_or(HBA_STATUS_OK)); }

    // Only for calls that Refusal let through.
    const sim::Adapter& Adapter() const { return *About(); }

  private:
    bool m_byHandle = false; // the adapter stands for a handle
};

// Copies what was recorded, as far as there is room; the rest of the output stays.
inline void PutRecorded(const std::vector<std::uint8_t>& recorded, void* output, std::size_t room) {
    if (output)
        std::copy_n(recorded.data(), std::min(recorded.size(), room), static_cast<std::uint8_t*>(output));
}

// Answers with one record that fill makes.
template <class Record, class Fill> HBA_STATUS AnswerRecord(LibraryCall& call, Record* record, Fill fill) {
    const auto refusal = call.Refusal();
    if (call.Garbage(record, sizeof *record) || refusal)
        return call.DoneEarly(refusal);
    if (!record)
        return call.Done(HBA_STATUS_ERROR_ARG);
    if (const sim::Reply* const recorded = call.Recorded({})) {
        PutRecorded(recorded->data, record, sizeof *record);
        return call.Done(recorded->status.value_or(HBA_STATUS_OK));
    }
    fill(*record);
    return call.Done(HBA_STATUS_OK);
}

// Takes the entries of a list one after the other and keeps those that the caller's buffer has room for.
template <class Entry> class ListWriter {
  public:
    ListWriter(Entry* entries, HBA_UINT32 room) : m_entries(entries), m_room(room) {}

    template <class Fill> void Add(Fill fill) {
        if (m_exist < m_room) {
            m_entries[m_exist] = {};
            fill(m_entries[m_exist]);
        }
        ++m_exist;
    }
    HBA_UINT32 Exist() const { return m_exist; }

  private:
    Entry* m_entries;
    HBA_UINT32 m_room;
    HBA_UINT32 m_exist = 0;
};

// Runs what needs the virtual-port state; state that cannot be read or kept is an error of the library.
template <class Work> HBA_STATUS WithState(const LibraryCall& call, Work work) {
    try {
        return work();
    } catch (const sim::TopologyError& error) {
        if (sim::CallLog::Instance().IsOn())
            sim::CallLog::Instance().Write(std::string("state error: ") + error.what(), call.Scene().version);
        return HBA_STATUS_ERROR;
    }
}

// Answers with a list whose entries write adds: never more than the caller has room for, the count always true.
template <class List, class Write> HBA_STATUS AnswerList(LibraryCall& call, List* list, Write write) {
    using Entry = std::remove_reference_t<decltype(list->entry[0])>;
    if (!list) {
        return call.Done(call.Refusal().value_or(HBA_STATUS_ERROR_ARG));
    }
    const HBA_UINT32 room = list->NumberOfEntries;
    call.Note("count", room);

    const auto refusal = call.Refusal();
    HBA_STATUS status = refusal.value_or(HBA_STATUS_OK);
    if (call.Garbage(&list->NumberOfEntries, sizeof list->NumberOfEntries)) {
        call.Garbage(list->entry, std::size_t(room) * sizeof(Entry));
    } else if (const sim::Reply* const recorded = refusal ? nullptr : call.Recorded({.room = room})) {
        PutRecorded(recorded->data, list->entry, std::size_t(room) * sizeof(Entry));
        list->NumberOfEntries = recorded->count.value_or(room);
        status = recorded->status.value_or(HBA_STATUS_OK);
    } else if (!refusal) {
        ListWriter<Entry> writer(list->entry, room);
        status = write(writer);
        if (status == HBA_STATUS_OK) {
            list->NumberOfEntries = writer.Exist();
            if (writer.Exist() > room)
                status = HBA_STATUS_ERROR_MORE_DATA;
        }
    }
    list->NumberOfEntries = call.Count(list->NumberOfEntries);
    call.Done(status);
    call.Note("count", list->NumberOfEntries);
    return status;
}

// Copies a UTF-8 text as ANSI text; one that fills the array, or that a fault lets go on, has no terminator.
template <std::size_t N> void CopyText(const LibraryCall& call, char (&to)[N], const std::string& utf8) {
    const bool ascii = std::all_of(utf8.begin(), utf8.end(), [](unsigned char c) { return c < 128; });
    std::memset(to, call.TextPadding(), N);
    if (ascii)
        utf8.copy(to, N);
    else
        sim::Ansi(utf8).copy(to, N);
}

inline HBA_WWN ToHba(const sim::Wwn& wwn) {
    HBA_WWN to;
    std::copy(wwn.begin(), wwn.end(), to.wwn);
    return to;
}

inline sim::Wwn FromHba(const HBA_WWN& wwn) {
    sim::Wwn to;
    std::copy(std::begin(wwn.wwn), std::end(wwn.wwn), to.begin());
    return to;
}

} // namespace orvanhapi
