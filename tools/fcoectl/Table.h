// Text renderings: aligned tables and blocks of titled lines. Nothing is ever cut.
#pragma once

#include <string>
#include <vector>

#include "tools/fcoectl/Text.h"
#include "tools/reading/Sheet.h"

namespace fcoectl {

enum class Align { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
};

struct Cell {
    Cell(std::string shown, Tone ofText = Tone::Plain) : text(std::move(shown)), tone(ofText) {}

    std::string text;
    Tone tone;
};

// Header, dashes, one line a row; two blanks between columns, "-" for an empty cell, no blanks at line ends.
class Table {
  public:
    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}
    // As many cells as columns.
    void Add(std::vector<Cell> cells);
    std::string Text(bool header = true, bool colours = false) const;

  private:
    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

// "TITLE  value" lines with the values in one column.
std::string Block(const std::vector<std::pair<std::string, std::string>>& lines);

} // namespace fcoectl
