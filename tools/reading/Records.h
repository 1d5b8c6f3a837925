// One description per record type: what every form of output knows of its fields.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <variant>

#include <nlohmann/json.hpp>

#include "FcoeAgent/FcoeRecords.h"
#include "tools/reading/Sheet.h"

namespace reading {

template <class Record> struct Field {
    const char* key;   // of the JSON member
    const char* title; // of the column
    std::variant<CQelString Record::*, ULONG Record::*, LONG64 Record::*, BYTE (Record::*)[8]> member;
    unsigned place = 0; // in the table, see SheetColumn
    Format format = Format::Plain;

    bool IsNumber() const {
        return std::holds_alternative<ULONG Record::*>(member) || std::holds_alternative<LONG64 Record::*>(member);
    }
};

template <class Record> struct RecordType {
    const char* list;    // JSON member that holds the records
    const char* command; // of fcoectl, which lists them
    std::span<const Field<Record>> fields;
};

// The descriptions, in the order of the record's fields.
template <class Record> const RecordType<Record>& TypeOf();
template <> const RecordType<QEL_FCOE_HBA>& TypeOf();
template <> const RecordType<QEL_FCOE_STATISTIC>& TypeOf();
template <> const RecordType<QEL_FCOE_FABRIC>& TypeOf();
template <> const RecordType<QEL_FCOE_PORT>& TypeOf();
template <> const RecordType<QEL_FCOE_TARGET>& TypeOf();
template <> const RecordType<QEL_FCOE_LUN>& TypeOf();
template <> const RecordType<QEL_FCOE_VLAN>& TypeOf();

// A field's value: a text as it is (UTF-8), a number, or eight bytes as a World Wide Name.
std::string WwnText(const BYTE (&bytes)[8]);
std::string FieldText(const CQelString& text);

template <class Record> nlohmann::ordered_json ValueOf(const Field<Record>& field, const Record& record) {
    if (const auto* text = std::get_if<CQelString Record::*>(&field.member))
        return FieldText(record.**text);
    if (const auto* number = std::get_if<ULONG Record::*>(&field.member))
        return static_cast<std::int64_t>(record.**number);
    if (const auto* number = std::get_if<LONG64 Record::*>(&field.member))
        return static_cast<std::int64_t>(record.**number);
    return WwnText(record.**std::get_if<BYTE(Record::*)[8]>(&field.member));
}

// All fields of a record as a JSON object, in the record's order.
template <class Record> nlohmann::ordered_json ToJson(const Record& record) {
    auto object = nlohmann::ordered_json::object();
    for (const Field<Record>& field : TypeOf<Record>().fields)
        object[field.key] = ValueOf(field, record);
    return object;
}

template <class Record> SheetColumns ColumnsOf() {
    SheetColumns columns;
    for (const Field<Record>& field : TypeOf<Record>().fields)
        columns.push_back({field.key, field.title, field.IsNumber(), field.format, field.place});
    return columns;
}

template <class Record> Sheet SheetOf(const std::vector<Record>& records) {
    Sheet sheet{ColumnsOf<Record>(), {}};
    for (const Record& record : records) {
        auto& row = sheet.rows.emplace_back();
        for (const Field<Record>& field : TypeOf<Record>().fields)
            row.push_back(ValueOf(field, record));
    }
    return sheet;
}

} // namespace reading
