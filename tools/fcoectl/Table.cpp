#include "tools/fcoectl/Table.h"

#include <algorithm>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

std::string Cell(const std::string& text) {
    return text.empty() ? "-" : Printable(text);
}

std::string Padding(const std::string& text, std::size_t width) {
    return std::string(width - CharacterCount(text), ' ');
}

} // namespace

void Table::Add(std::vector<std::string> cells) {
    for (std::string& cell : cells)
        cell = Cell(cell);
    m_rows.push_back(std::move(cells));
}

std::string Table::Text() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t width = CharacterCount(m_columns[i].title);
        for (const auto& row : m_rows)
            width = std::max(width, CharacterCount(row[i]));
        widths.push_back(width);
    }
    std::string text;
    const auto line = [&](auto&& cellAt) {
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const std::string cell = cellAt(i);
            const std::string padding = Padding(cell, widths[i]);
            text.append(i ? 2 : 0, ' ');
            text += m_columns[i].align == Align::Right ? padding + cell : cell + padding;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    };
    line([&](std::size_t i) { return m_columns[i].title; });
    line([&](std::size_t i) { return std::string(widths[i], '-'); });
    for (const auto& row : m_rows)
        line([&](std::size_t i) { return row[i]; });
    return text;
}

std::string Block(const std::vector<std::pair<std::string, std::string>>& lines) {
    std::size_t width = 0;
    for (const auto& [title, value] : lines)
        width = std::max(width, CharacterCount(title));
    std::string text;
    for (const auto& [title, value] : lines)
        text += title + Padding(title, width) + "  " + Cell(value) + '\n';
    return text;
}

} // namespace fcoectl
