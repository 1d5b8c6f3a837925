#include "tools/reading/Sheet.h"

#include <fmt/format.h>

namespace reading {

using Json = nlohmann::ordered_json;

std::string ValueText(const Json& value, Format format) {
    if (value.is_null())
        return {};
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number_float())
        return fmt::format("{:.{}f}", value.get<double>(), format == Format::Milliseconds ? 3 : 1);
    if (value.is_array()) {
        std::string text;
        for (const Json& element : value)
            text += (text.empty() ? "" : "; ") + ValueText(element, format);
        return text;
    }
    if (value.is_object()) {
        std::string text;
        for (const auto& [key, member] : value.items())
            text += (text.empty() ? "" : " ") + ValueText(member, format);
        return text;
    }
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    const auto number = value.get<std::int64_t>();
    if (format == Format::Hex)
        return fmt::format("0x{:06X}", number);
    if (format == Format::Code && number > 255)
        return fmt::format("0x{:08X}", number);
    return fmt::format("{}", number);
}

Json JsonOf(const Sheet& sheet) {
    Json list = Json::array();
    for (const auto& row : sheet.rows) {
        Json object = Json::object();
        for (std::size_t i = 0; i < row.size(); ++i)
            object[sheet.columns[i].key] = row[i];
        list.push_back(std::move(object));
    }
    return list;
}

} // namespace reading
