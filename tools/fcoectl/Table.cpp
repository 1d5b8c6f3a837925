#include "tools/fcoectl/Table.h"

#include <algorithm>

#include "tools/fcoectl/DisplayWidth.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr char RED[] = "\x1B[31m";
constexpr char PLAIN[] = "\x1B[0m";

std::string Shown(const std::string& text) {
    return text.empty() ? "-" : Printable(text);
}

std::string Padding(const std::string& text, std::size_t width) {
    return std::string(width - DisplayWidth(text), ' ');
}

} // namespace

void Table::Add(std::vector<Cell> cells) {
    for (Cell& cell : cells)
        cell.text = Shown(cell.text);
    m_rows.push_back(std::move(cells));
}

std::string Table::Text(bool header, bool colours) const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t width = header ? DisplayWidth(m_columns[i].title) : 0;
        for (const auto& row : m_rows)
            width = std::max(width, DisplayWidth(row[i].text));
        widths.push_back(width);
    }
    std::string text;
    const auto line = [&](auto&& cellAt) {
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const Cell cell = cellAt(i);
            const std::string padding = Padding(cell.text, widths[i]);
            const bool red = colours && cell.tone == Tone::Alarm;
            const std::string shown = red ? RED + cell.text + PLAIN : cell.text;
            text.append(i ? 2 : 0, ' ');
            text += m_columns[i].align == Align::Right ? padding + shown : shown + padding;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    };
    if (header) {
        line([&](std::size_t i) { return Cell{m_columns[i].title}; });
        line([&](std::size_t i) { return Cell{std::string(widths[i], '-')}; });
    }
    for (const auto& row : m_rows)
        line([&](std::size_t i) { return row[i]; });
    return text;
}

std::string Block(const std::vector<std::pair<std::string, std::string>>& lines) {
    std::size_t width = 0;
    for (const auto& [title, value] : lines)
        width = std::max(width, DisplayWidth(title));
    std::string text;
    for (const auto& [title, value] : lines)
        text += title + Padding(title, width) + "  " + Shown(value) + '\n';
    return text;
}

} // namespace fcoectl
