// Text renderings: aligned tables and blocks of titled lines. Nothing is ever cut.
#pragma once

#include <string>
#include <vector>

#include "tools/fcoectl/Records.h"

namespace fcoectl {

enum class Align { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
};

// Header, dashes, one line a row; two blanks between columns, "-" for an empty cell, no blanks at line ends.
class Table {
  public:
    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}
    // As many cells as columns.
    void Add(std::vector<std::string> cells);
    std::string Text() const;

  private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

template <class Record> std::vector<Column> ColumnsOf() {
    std::vector<Column> columns;
    for (const Field<Record>& field : Describe<Record>().fields)
        if (field.shown == Shown::Always)
            columns.push_back({field.title, field.IsNumber() ? Align::Right : Align::Left});
    return columns;
}

template <class Record> std::vector<std::string> CellsOf(const Record& record) {
    std::vector<std::string> cells;
    for (const Field<Record>& field : Describe<Record>().fields)
        if (field.shown == Shown::Always)
            cells.push_back(ValueText(ValueOf(field, record), field.format));
    return cells;
}

template <class Record> std::string TableOf(const std::vector<Record>& records) {
    Table table(ColumnsOf<Record>());
    for (const Record& record : records)
        table.Add(CellsOf(record));
    return table.Text();
}

// "TITLE  value" lines with the values in one column.
std::string Block(const std::vector<std::pair<std::string, std::string>>& lines);

// Every field of every record, one block a record, an empty line between two.
template <class Record> std::string BlocksOf(const std::vector<Record>& records) {
    std::string text;
    for (const Record& record : records) {
        std::vector<std::pair<std::string, std::string>> lines;
        for (const Field<Record>& field : Describe<Record>().fields)
            lines.emplace_back(field.title, ValueText(ValueOf(field, record), field.format));
        if (!text.empty())
            text += '\n';
        text += Block(lines);
    }
    return text;
}

} // namespace fcoectl
