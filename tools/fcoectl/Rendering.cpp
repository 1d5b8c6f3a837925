#include "tools/fcoectl/Rendering.h"

#include <algorithm>

#include "tools/fcoectl/Table.h"

namespace fcoectl {
namespace {

// RFC 4180.
std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c;
        if (c == '"')
            quoted += c;
    }
    return quoted + '"';
}

std::string TsvField(const std::string& text) {
    std::string escaped;
    for (const char c : text)
        switch (c) {
        case '\t':
            escaped += "\\t";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\\':
            escaped += "\\\\";
            break;
        default:
            escaped += c;
        }
    return escaped;
}

std::string Separated(const Sheet& sheet, bool header, const char* separator, const char* lineEnd,
                      std::string (*field)(const std::string&)) {
    std::string text;
    const auto line = [&](auto&& fieldAt) {
        for (std::size_t i = 0; i < sheet.columns.size(); ++i)
            text += (i ? separator : "") + field(fieldAt(i));
        text += lineEnd;
    };
    if (header)
        line([&](std::size_t i) { return sheet.columns[i].key; });
    for (const auto& row : sheet.rows)
        line([&](std::size_t i) { return ValueText(row[i], sheet.columns[i].format); });
    return text;
}

std::string TableOf(const Sheet& sheet, const Style& style) {
    std::vector<Column> columns;
    for (const SheetColumn& column : sheet.columns)
        columns.push_back({column.title, column.isNumber ? Align::Right : Align::Left});
    Table table(std::move(columns));
    for (const auto& row : sheet.rows) {
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const SheetColumn& column = sheet.columns[i];
            cells.push_back(
                {ValueText(row[i], column.format), style.colours && column.tone ? column.tone(row[i]) : Tone::Plain});
        }
        table.Add(std::move(cells));
    }
    return table.Text(style.header, style.colours);
}

std::string BlocksOf(const Sheet& sheet) {
    std::string text;
    for (const auto& row : sheet.rows) {
        std::vector<std::pair<std::string, std::string>> lines;
        for (std::size_t i = 0; i < row.size(); ++i)
            lines.emplace_back(sheet.columns[i].title, ValueText(row[i], sheet.columns[i].format));
        text += (text.empty() ? "" : "\n") + Block(lines);
    }
    return text;
}

} // namespace

std::string JsonLine(const nlohmann::ordered_json& value) {
    return value.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string Rendered(const Sheet& sheet, Form form, const Style& style) {
    switch (form) {
    case Form::Long:
        return BlocksOf(sheet);
    case Form::Csv:
        return Separated(sheet, style.header, ",", "\r\n", CsvField);
    case Form::Tsv:
        return Separated(sheet, style.header, "\t", "\n", TsvField);
    case Form::Json:
        return JsonLine(JsonOf(sheet));
    case Form::JsonLines: {
        std::string lines;
        for (const auto& object : JsonOf(sheet))
            lines += JsonLine(object);
        return lines;
    }
    default:
        return TableOf(sheet, style);
    }
}

} // namespace fcoectl
