#include "tools/fcoectl/Query.h"

#include <algorithm>
#include <cwctype>
#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/fcoectl/Suggestion.h"
#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;

std::wstring Folded(std::string_view text) {
    std::wstring folded = FromUtf8(text);
    CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

// "PORT WWN", "port-wwn" and "port_wwn" are one name.
std::string Plain(std::string_view name) {
    std::string plain(name);
    for (char& c : plain)
        c = c == ' ' || c == '-' ? '_' : static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return plain;
}

std::size_t ColumnNamed(std::string_view name, const SheetColumns& known) {
    const std::string wanted = Plain(name);
    std::vector<std::string> keys;
    for (const SheetColumn& column : known)
        keys.push_back(column.key);
    for (const auto& isNamed : {+[](const SheetColumn& column) { return Plain(column.key); },
                                +[](const SheetColumn& column) { return Plain(column.title); }}) {
        const auto found = std::ranges::find(known, wanted, isNamed);
        if (found != known.end())
            return static_cast<std::size_t>(found - known.begin());
    }
    throw std::invalid_argument(
        fmt::format("There is no column '{}'{} There are: {}.", name, DidYouMean(wanted, keys), fmt::join(keys, ", ")));
}

std::vector<std::string_view> Parts(std::string_view list) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto comma = list.find(',');
        parts.push_back(list.substr(0, comma));
        if (comma == std::string_view::npos)
            return parts;
        list.remove_prefix(comma + 1);
    }
}

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// The number at the start of the text, which begins behind it then, without leading zeros.
std::wstring_view TakeNumber(std::wstring_view& text) {
    const auto begin = std::ranges::find_if(text, [](wchar_t c) { return c != L'0'; });
    const auto end = std::find_if_not(begin, text.end(), IsDigit);
    const std::wstring_view number(begin, end);
    text = std::wstring_view(end, text.end());
    return number;
}

// As people sort: in any letter case, and PHYSICALDRIVE9 before PHYSICALDRIVE10.
int CompareTexts(std::wstring_view left, std::wstring_view right) {
    while (!left.empty() && !right.empty()) {
        if (IsDigit(left.front()) && IsDigit(right.front())) {
            const auto leftNumber = TakeNumber(left);
            const auto rightNumber = TakeNumber(right);
            if (leftNumber.size() != rightNumber.size())
                return leftNumber.size() < rightNumber.size() ? -1 : 1;
            if (const int order = leftNumber.compare(rightNumber))
                return order;
            continue;
        }
        if (left.front() != right.front())
            return left.front() < right.front() ? -1 : 1;
        left.remove_prefix(1);
        right.remove_prefix(1);
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

int Compare(const Json& left, const Json& right) {
    if (left.is_number() && right.is_number())
        return left < right ? -1 : left > right ? 1 : 0;
    return CompareTexts(Folded(ValueText(left, Format::Plain)), Folded(ValueText(right, Format::Plain)));
}

// Those of a table by their place, of other forms all.
std::vector<std::size_t> UsualColumns(const SheetColumns& columns, Form form) {
    std::vector<std::size_t> usual;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (form != Form::Table || columns[i].place)
            usual.push_back(i);
    if (form == Form::Table)
        std::ranges::stable_sort(usual, {}, [&](std::size_t i) { return columns[i].place; });
    return usual;
}

} // namespace

Query ParseQuery(const std::string& columns, const std::string& sort, const std::vector<std::string>& where,
                 const SheetColumns& known) {
    Query query;
    if (!columns.empty())
        for (const std::string_view name : Parts(columns))
            query.columns.push_back(ColumnNamed(name, known));
    if (!sort.empty())
        for (std::string_view name : Parts(sort)) {
            const bool descending = name.starts_with('-');
            name.remove_prefix(descending ? 1 : 0);
            query.sort.push_back({ColumnNamed(name, known), descending});
        }
    for (const std::string_view condition : where) {
        const auto sign = condition.find('=');
        if (sign == std::string_view::npos)
            throw std::invalid_argument(
                fmt::format("'{}' is no condition: it has the form COLUMN=VALUE, such as name=*1.", condition));
        query.where.push_back({ColumnNamed(condition.substr(0, sign), known), std::string(condition.substr(sign + 1))});
    }
    return query;
}

Sheet Arranged(Sheet sheet, const Query& query, Form form) {
    std::erase_if(sheet.rows, [&](const auto& row) {
        return std::ranges::any_of(query.where, [&](const Query::Condition& condition) {
            return !MatchesGlob(condition.glob,
                                ValueText(row[condition.column], sheet.columns[condition.column].format)) &&
                   !MatchesGlob(condition.glob, ValueText(row[condition.column], Format::Plain));
        });
    });
    std::ranges::stable_sort(sheet.rows, [&](const auto& left, const auto& right) {
        for (const Query::SortKey& key : query.sort)
            if (const int order = Compare(left[key.column], right[key.column]))
                return key.descending ? order > 0 : order < 0;
        return false;
    });
    const auto chosen = query.columns.empty() ? UsualColumns(sheet.columns, form) : query.columns;
    Sheet arranged;
    for (const std::size_t i : chosen)
        arranged.columns.push_back(sheet.columns[i]);
    for (const auto& row : sheet.rows) {
        auto& cells = arranged.rows.emplace_back();
        for (const std::size_t i : chosen)
            cells.push_back(row[i]);
    }
    return arranged;
}

bool MatchesGlob(std::string_view pattern, std::string_view text) {
    const std::wstring wanted = Folded(pattern);
    const std::wstring given = Folded(text);
    std::size_t at = 0;
    std::size_t star = std::wstring::npos; // the last * in the pattern, and how much of the text it stands for
    std::size_t behindStar = 0;
    std::size_t i = 0;
    while (i < given.size()) {
        if (at < wanted.size() && wanted[at] == L'*') {
            star = at++;
            behindStar = i;
        } else if (at < wanted.size() && (wanted[at] == L'?' || wanted[at] == given[i])) {
            ++at;
            ++i;
        } else if (star != std::wstring::npos) {
            at = star + 1;
            i = ++behindStar;
        } else {
            return false;
        }
    }
    return wanted.find_first_not_of(L'*', at) == std::wstring::npos;
}

} // namespace fcoectl
