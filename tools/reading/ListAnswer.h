// One list of the agent as every host shows it.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "tools/reading/LinkStatus.h"
#include "tools/reading/LoadedAgent.h"
#include "tools/reading/Records.h"
#include "tools/reading/Report.h"

namespace reading {

inline constexpr unsigned PLACE_OF_STATE = 2;

// What the record shows of the adapter's link.
inline LinkStatus LinkOf(const QEL_FCOE_HBA& hba, const Findings& findings) {
    return findings.Lack(hba.strDeviceId, What::Adapter) ? UNREAD_LINK : ExplainLinkStatus(hba.strFcoeLinkStatus);
}

// The records' fields; of adapters also what their link status means.
template <class Record> SheetColumns ListColumns() {
    SheetColumns columns = ColumnsOf<Record>();
    if constexpr (std::is_same_v<Record, QEL_FCOE_HBA>)
        columns.push_back({"state", "STATE", false, Format::Plain, PLACE_OF_STATE});
    return columns;
}

template <class Record> Sheet ListSheet(const Reading<Record>& reading) {
    Sheet sheet = SheetOf(reading.records);
    sheet.columns = ListColumns<Record>();
    if constexpr (std::is_same_v<Record, QEL_FCOE_HBA>)
        for (std::size_t i = 0; i < sheet.rows.size(); ++i)
            sheet.rows[i].emplace_back(LinkOf(reading.records[i], reading.findings).state);
    return sheet;
}

// Counters that were not read are left out: the agent tells zeros then.
template <class Record> void LeaveOutUnread(Reading<Record>& reading) {
    if constexpr (std::is_same_v<Record, QEL_FCOE_STATISTIC>)
        std::erase_if(reading.records,
                      [&](const Record& record) { return reading.findings.Lack(record.strDeviceId, What::Counters); });
}

// Of a whole answer without records: why there is no adapter, or that none has such a thing.
[[nodiscard]] std::string NoteOfNone(const std::string& whyNone, const char* list);

// The rows as an array of objects.
void Tell(DocumentSink& sink, const Sheet& sheet);
// What ended a command that did not read all: nothing else.
void TellPartial(DocumentSink& sink);

// What `fcoectl LIST --json` prints of it. reading: after LeaveOutUnread.
template <class Record> [[nodiscard]] std::string ListText(const Reading<Record>& reading) {
    const RecordType<Record>& type = TypeOf<Record>();
    Report report;
    report.problems.emplace();
    report.Add(reading.complete, reading.findings);
    if (report.complete && reading.records.empty())
        report.notes.push_back(NoteOfNone(reading.findings.whyNone, type.list));
    TextSink document;
    TellBeginning(document, type.command, report.complete);
    document.Key(type.list);
    Tell(document, ListSheet(reading));
    TellProblems(document, report);
    if (!report.complete)
        TellPartial(document);
    document.End();
    return document.Take();
}

} // namespace reading
