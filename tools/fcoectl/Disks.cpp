#include "tools/fcoectl/Disks.h"

#include <algorithm>
#include <cwchar>

#include <fmt/format.h>

#include "tools/fcoectl/Adapters.h"
#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/DiskSize.h"
#include "tools/fcoectl/NoteNone.h"
#include "tools/fcoectl/ShowSheet.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/schema/Types.h"

namespace fcoectl {
namespace {

using Json = nlohmann::ordered_json;
using Luns = std::vector<const QEL_FCOE_LUN*>; // of one disk

std::vector<Luns> ByDevice(const std::vector<QEL_FCOE_LUN>& luns) {
    std::vector<Luns> disks;
    for (const QEL_FCOE_LUN& lun : luns) {
        if (lun.strOsDeviceName.empty())
            continue;
        const auto found = std::ranges::find_if(disks, [&](const Luns& disk) {
            return EqualIgnoringCase(disk.front()->strOsDeviceName, lun.strOsDeviceName);
        });
        if (found == disks.end())
            disks.push_back({&lun});
        else
            found->push_back(&lun);
    }
    return disks;
}

// Without the blanks that fill the library's texts up.
std::string Trimmed(const CQelString& text) {
    std::string trimmed = ToUtf8(text);
    trimmed.erase(trimmed.find_last_not_of(' ') + 1);
    return trimmed;
}

// Several texts with ", " between.
void AddOnce(std::string& texts, const std::string& text) {
    const std::string separated = ", " + texts + ", ";
    if (!text.empty() && separated.find(", " + text + ", ") == std::string::npos)
        texts += (texts.empty() ? "" : ", ") + text;
}

bool Reaches(const QEL_FCOE_TARGET& target, const QEL_FCOE_LUN& lun) {
    return target.strDeviceId == lun.strDeviceId && target.strPortWWN == lun.strTargetPortWWN &&
           target.strInitiatorPortWWN == lun.strInitiatorPortWWN;
}

// What the library tells of the disk on that way.
Json PathOf(const QEL_FCOE_LUN& lun, const std::string& vendor, const std::string& serial) {
    return {{"second_id", ToUtf8(lun.strSecondId)},
            {"device_id", ToUtf8(lun.strDeviceId)},
            {"initiator_port_wwn", ToUtf8(lun.strInitiatorPortWWN)},
            {"target_port_wwn", ToUtf8(lun.strTargetPortWWN)},
            {"os_lun", lun.ulOsLun},
            {"capacity", ToUtf8(lun.strCapacity)},
            {"vendor", vendor},
            {"serial", serial}};
}

} // namespace

std::optional<std::uint64_t> BytesOfText(std::wstring_view capacity) {
    constexpr std::pair<std::wstring_view, unsigned> units[] = {{L" MB", 20}, {L" GB", 30}, {L" TB", 40}};
    const std::wstring text(capacity);
    wchar_t* end = nullptr;
    const std::uint64_t number = std::wcstoull(text.c_str(), &end, 10);
    for (const auto& [unit, bits] : units)
        if (end != text.c_str() && unit == end)
            return number << bits;
    return std::nullopt;
}

namespace {

Json BytesSchema() {
    return schema::OrNull(schema::Integer());
}

Json PathsSchema() {
    using namespace schema;
    return ListOf(Object({{"second_id", Text()},
                          {"device_id", Text()},
                          {"initiator_port_wwn", Text()},
                          {"target_port_wwn", Text()},
                          {"os_lun", Integer()},
                          {"capacity", Text()},
                          {"vendor", Text()},
                          {"serial", Text()}}));
}

} // namespace

SheetColumns DiskColumns(const Options&) {
    return {{"os_device_name", "DISK", false, Format::Plain, 1},
            {"bytes", "BYTES", true, Format::Plain, 2, nullptr, BytesSchema},
            {"bytes_source", "BYTES FROM", false, Format::Plain, 3},
            {"capacity", "CAPACITY"},
            {"block_size", "BLOCK SIZE"},
            {"vendor", "VENDOR", false, Format::Plain, 4},
            {"serial", "SERIAL", false, Format::Plain, 5},
            {"path_count", "PATHS", true, Format::Plain, 6},
            {"paths", "WAYS", false, Format::Plain, 0, nullptr, PathsSchema}};
}

Sheet SheetOfDisks(const std::vector<QEL_FCOE_LUN>& luns, const std::vector<QEL_FCOE_TARGET>& targets,
                   const SizeOf& sizeOf) {
    Sheet sheet{DiskColumns({}), {}};
    for (const Luns& disk : ByDevice(luns)) {
        const QEL_FCOE_LUN& first = *disk.front();
        const auto exact = sizeOf(first.strOsDeviceName);
        const auto bytes = exact ? exact : BytesOfText(first.strCapacity);
        std::string vendor;
        std::string serial;
        Json paths = Json::array();
        for (const QEL_FCOE_LUN* lun : disk) {
            std::string vendorThere;
            std::string serialThere;
            for (const QEL_FCOE_TARGET& target : targets)
                if (Reaches(target, *lun)) {
                    AddOnce(vendorThere, Trimmed(target.strVendor));
                    AddOnce(serialThere, Trimmed(target.strSerial));
                }
            AddOnce(vendor, vendorThere);
            AddOnce(serial, serialThere);
            paths.push_back(PathOf(*lun, vendorThere, serialThere));
        }
        sheet.rows.push_back({ToUtf8(first.strOsDeviceName), bytes ? Json(*bytes) : Json(nullptr),
                              exact   ? "disk"
                              : bytes ? "capacity"
                                      : "",
                              ToUtf8(first.strCapacity), ToUtf8(first.strBlockSize), vendor, serial, disk.size(),
                              std::move(paths)});
    }
    return sheet;
}

namespace {

bool IsKnown(reading::What what, const Json& path) {
    if (what == reading::What::Capacity)
        return BytesOfText(FromUtf8(path["capacity"].get<std::string>())).value_or(0) > 0;
    return path[what == reading::What::Vendor ? "vendor" : "serial"] != "";
}

// Units that are no disk's, and targets that lead to none, are not shown: nor is what could not be read of them.
void DropUnshown(reading::Findings& findings, const std::vector<const Json*>& paths) {
    for (const reading::What what : {reading::What::Capacity, reading::What::Vendor, reading::What::SerialNumber})
        if (std::ranges::all_of(paths, [what](const Json* path) { return IsKnown(what, *path); }))
            std::erase_if(findings.problems,
                          [what](const reading::Problem& problem) { return problem.what == reading::KeyOf(what); });
}

} // namespace

void ListDisks(AgentContext& context) {
    auto targets = context.agent.Read<QEL_FCOE_TARGET>(context.adapter.id);
    auto luns = context.agent.Read<QEL_FCOE_LUN>(context.adapter.id);
    Sheet sheet = SheetOfDisks(luns.records, targets.records, DiskSize);
    std::vector<const Json*> paths;
    for (const auto& row : sheet.rows)
        for (const Json& path : row.back())
            paths.push_back(&path);
    DropUnshown(targets.findings, paths);
    DropUnshown(luns.findings, paths);
    context.report.Add(targets.complete, targets.findings);
    context.report.Add(luns.complete, luns.findings);
    const auto fromText = std::ranges::count_if(sheet.rows, [](const auto& row) { return row[2] == "capacity"; });
    const auto withoutDisk =
        std::ranges::count_if(luns.records, [](const auto& lun) { return lun.strOsDeviceName.empty(); });
    if (fromText)
        context.report.notes.push_back(fmt::format("{} of {} disks cannot be asked for their size: their bytes are "
                                                   "those of the capacity, which is rounded down.",
                                                   fromText, sheet.rows.size()));
    if (withoutDisk)
        context.report.notes.push_back(fmt::format("{} logical unit{} no disk of the operating system.", withoutDisk,
                                                   withoutDisk == 1 ? " is" : "s are"));
    if (luns.records.empty())
        NoteNone(context, luns.findings.whyNone, "luns");
    ShowSheet(context, "disks", std::move(sheet));
}

} // namespace fcoectl
