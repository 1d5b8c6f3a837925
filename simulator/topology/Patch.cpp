#include "simulator/topology/Patch.h"

#include <algorithm>
#include <string>

namespace sim {
namespace {

using nlohmann::json;

// Copies of copies double the document with each.
constexpr std::size_t MAX_COPIED = 500000;

void MeasureWithin(const json& value, std::size_t depth, Extent& extent) {
    ++extent.values;
    extent.depth = std::max(extent.depth, depth);
    if (!extent.IsWithinDepth() || !value.is_structured())
        return;
    for (const auto& member : value)
        MeasureWithin(member, depth + 1, extent);
}

std::string Shown(const json& value) {
    const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    return text.size() <= 60 ? text : text.substr(0, 57) + "...";
}

// On one line, whatever is in it.
std::string Escaped(std::string_view text) {
    const std::string quoted = json(text).dump(-1, ' ', false, json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

} // namespace

Extent Measure(const json& value) {
    Extent extent;
    MeasureWithin(value, 1, extent);
    return extent;
}

void Patcher::NeedValue(const std::string& path) const {
    if (!m_document.contains(json::json_pointer(path)))
        throw PatchError("nothing is at " + Escaped(path));
}

// What the library does not look at, or says in words of its own.
void Patcher::NeedRoom(const std::string& path) const {
    if (path.empty())
        return;
    if (static_cast<std::size_t>(std::ranges::count(path, '/')) > Extent::MAX_DEPTH)
        throw PatchError("no value of a topology lies as deep as " + Escaped(path));
    const auto cut = path.rfind('/');
    const std::string parent = path.substr(0, cut), key = path.substr(cut + 1);
    NeedValue(parent);
    const json& container = m_document.at(json::json_pointer(parent));
    const std::string place = parent.empty() ? "the topology" : Escaped(parent);
    if (!container.is_structured())
        throw PatchError("nothing can be added to " + place + ", which is " + Shown(container));
    if (container.is_array() && key != "-" && key != std::to_string(container.size()) &&
        !m_document.contains(json::json_pointer(path)))
        throw PatchError("the list at " + place + " has " + std::to_string(container.size()) +
                         " entries: write a place from 0 to " + std::to_string(container.size()) + ", or \"-\"");
}

void Patcher::NeedMeasure(const json& value) {
    const Extent extent = Measure(value);
    m_copied += extent.values;
    if (!extent.IsWithinDepth() || m_copied > MAX_COPIED)
        throw PatchError("the topology would grow beyond all measure");
}

void Patcher::Change(const char* operation, const std::string& path, const json& value) {
    json patch{{"op", operation}, {"path", path}};
    if (std::string_view("remove") != operation)
        patch["value"] = value;
    m_document.patch_inplace(json::array({patch}));
}

void Patcher::Apply(const json& operation) {
    const std::string op = operation.at("op"), path = operation.at("path");
    try {
        if (op == "add") {
            NeedRoom(path);
            Change("add", path, operation.at("value"));
        } else if (op == "move" || op == "copy") {
            const std::string from = operation.at("from");
            NeedValue(from);
            const json value = m_document.at(json::json_pointer(from));
            NeedMeasure(value);
            if (op == "move")
                Change("remove", from);
            NeedRoom(path);
            Change("add", path, value);
        } else {
            if (op == "replace" && !m_document.contains(json::json_pointer(path)))
                throw PatchError("nothing is at " + Escaped(path) + "; \"add\" adds it, or replaces it if it is there");
            NeedValue(path);
            if (op == "remove") {
                Change("remove", path);
            } else if (op == "replace") {
                Change("replace", path, operation.at("value"));
            } else if (const json& found = m_document.at(json::json_pointer(path)); found != operation.at("value")) {
                throw PatchError("the test fails: " + Escaped(path) + " is " + Shown(found));
            }
        }
    } catch (const json::exception& error) {
        const std::string_view what = error.what();
        throw PatchError(Escaped(what.substr(what.find("] ") + 2)));
    }
}

} // namespace sim
