#include "tests/soak/World.h"

#include <algorithm>
#include <array>
#include <map>

#include <fmt/format.h>

#include "FcoeAgent/QelResource.h"

namespace soak {
namespace {

constexpr unsigned MOST_TARGETS = 3, MOST_LUNS = 3, MOST_VLANS = 3;
constexpr unsigned VIRTUAL_PORT_TYPE = 3;

// Everything that changes with the version shows it, so that a mixture of two versions is told from either.
struct Content {
    unsigned adapter, version;

    unsigned Draw(unsigned what, unsigned below) const {
        return (version * 2654435761u + adapter * 40503u + what * 97u) / 257 % below;
    }
    unsigned Targets() const { return Draw(1, MOST_TARGETS + 1); }
    unsigned Luns(unsigned target) const { return Draw(10 + target, MOST_LUNS + 1); }
    unsigned Vlans() const { return Draw(2, MOST_VLANS + 1); }
    unsigned Speed() const { return std::array{1u, 2u, 4u, 8u, 16u}[Draw(3, 5)]; }
    bool IsOnline() const { return Draw(4, 4) != 0; }
    unsigned FcId() const { return (adapter + 1) << 16 | version % 251 << 8; }
    unsigned Low() const { return version & 0xFF; }
    unsigned High() const { return version >> 8 & 0xFF; }

    std::string Name(unsigned kind) const {
        return fmt::format("{:02X}:00:02:05:7C:{:02X}:{:02X}:{:02X}", kind, adapter, High(), Low());
    }
    // Targets 0 and 1 stay the same ones, the third is another one in each version.
    std::string TargetName(unsigned target) const {
        const unsigned mark = target < 2 ? 0 : version & 0xFFFF;
        return fmt::format("50:06:02:6B:{:02X}:{:02X}:{:02X}:{:02X}", adapter, mark >> 8, mark & 0xFF, target);
    }
    unsigned TargetFcId(unsigned target) const { return (adapter + 1) << 16 | 0xFF00 | target; }
    std::string Vendor(unsigned target) const { return fmt::format("V{:06}{}", version % 1000000, target); }
    std::string Serial(unsigned target) const { return fmt::format("S{}-{}-{}", adapter, target, version); }
    unsigned Megabytes(unsigned lun) const { return version % 900 + 1 + lun; }
    unsigned BlockLength() const { return version % 2 ? 1024 : 512; }
    unsigned Blocks(unsigned lun) const { return Megabytes(lun) * (1048576 / BlockLength()) + 1; }
    std::string Device(unsigned target, unsigned lun) const {
        return fmt::format("disk-{}-{}-{}-{}", adapter, target, lun, version);
    }
    unsigned VlanState(unsigned vlan) const { return (version + vlan) % 3; }
    long long Counter(unsigned counter) const { return version * 1000ll + counter; }
    unsigned FabricNumber() const { return 100 + adapter; }
};

// As the topology names them, in the order in which the agent shows them; null: no counter.
constexpr const char* COUNTERS[] = {"tx_frames",
                                    "tx_words",
                                    nullptr,
                                    nullptr,
                                    "rx_frames",
                                    "rx_words",
                                    nullptr,
                                    nullptr,
                                    "error_frames",
                                    "dumped_frames",
                                    "loss_of_sync_count",
                                    "invalid_crc_count",
                                    "invalid_tx_word_count",
                                    "loss_of_signal_count",
                                    "link_failure_count"};

CQelString Wide(const std::string& text) {
    return CQelString(std::wstring(text.begin(), text.end()).c_str());
}

CQelString Text(unsigned id) {
    return CQelString(Resource(id).c_str());
}

std::string AdapterText(const Content& content, bool fcoe) {
    const unsigned a = content.adapter;
    const std::wstring wide = Identifier(a), name = DisplayName(a);
    std::string text = fmt::format(
        R"({{"identifier": "{}", "display_name": "{}", "mac": "02:05:7C:00:00:{:02X}", "supports_fcoe": {},
"library_name": "com.orvan-soak-{}", "attributes": {{"model": "{:02}"}},
"port": {{"node_wwn": "{}", "port_wwn": "{}", "fc_id": {}, "state": {}, "speed": {}}},
"pci": {{"bus": {}, "device": {}, "function": {}}},
"ports": [{{"type": 0, "identifiers": ["{}", "{}", "{}"], "word_56": {}, "number": {}, "byte_62": {}}}])",
        std::string(wide.begin(), wide.end()), std::string(name.begin(), name.end()), a, fcoe, a, content.version % 100,
        content.Name(0x10), PhysicalPortName(a), content.FcId(), content.IsOnline() ? 2 : 3, content.Speed(), 10 + a, a,
        content.version % 8, content.Name(0x11), content.Name(0x12), content.Name(0x13), content.version,
        content.FabricNumber(), content.Low());
    text += ",\n\"targets\": [";
    for (unsigned t = 0; t < content.Targets(); ++t) {
        text += fmt::format(R"({}{{"bus": {}, "target": {}, "port_wwn": "{}", "node_wwn": "{}", "fc_id": {},
"number": {}, "npiv": {}, "vendor": "{}", "serial": "{}", "luns": [)",
                            t ? "," : "", a, t, content.TargetName(t), content.Name(0x51), content.TargetFcId(t),
                            content.version & 0xFFFF, t == 0, content.Vendor(t), content.Serial(t));
        for (unsigned l = 0; l < content.Luns(t); ++l)
            text += fmt::format(R"({}{{"os_lun": {}, "os_device_name": "{}", "blocks": {}, "block_length": {}}})",
                                l ? "," : "", l, content.Device(t, l), content.Blocks(l), content.BlockLength());
        text += "]}";
    }
    text += "],\n\"vlans\": [";
    for (unsigned v = 0; v < content.Vlans(); ++v)
        text += fmt::format(R"({}{{"id": {}, "state": {}}})", v ? "," : "", 100 + v, content.VlanState(v));
    text += "],\n\"statistics\": {";
    bool comma = false;
    for (unsigned c = 0; c < std::size(COUNTERS); ++c) {
        if (!COUNTERS[c])
            continue;
        text += fmt::format(R"({}"{}": {})", comma ? "," : "", COUNTERS[c], content.Counter(c));
        comma = true;
    }
    return text + "},\n\"dcb\": " + DcbText(a) + "}";
}

template <class Record> Record Identified(unsigned adapter) {
    Record record;
    record.strDeviceId = CQelString(Identifier(adapter).c_str());
    record.strSecondId = CQelString(DisplayName(adapter).c_str());
    return record;
}

CQelString FabricName(const Content& content, bool isVirtual) {
    return Wide(fmt::format("{}Fabric {}", isVirtual ? "Virtual " : "", content.FabricNumber()));
}

// Calls visit(port name, whether it is virtual, target) for every target through every port.
template <class Visit> void ForEachTarget(const View& view, Visit visit) {
    const Content content{view.adapter, view.version};
    for (unsigned t = 0; t < content.Targets(); ++t)
        visit(PhysicalPortName(view.adapter), false, t);
    for (const std::string& port : view.virtualPorts)
        if (content.Targets() > 0)
            visit(port, true, 0u);
}

} // namespace

std::wstring Identifier(unsigned adapter) {
    return L"{00000000-0000-0000-0000-" + std::to_wstring(100000000000ull + adapter) + L'}';
}

std::string DcbText(unsigned adapter) {
    constexpr const char* TEXTS[] = {"{}", R"({"pfc": [0, 0, 0, 0, 0, 0, 0, 0]})", R"({"enabled": 0})",
                                     R"({"app_hresult": 1})"};
    return TEXTS[adapter % std::size(TEXTS)];
}

std::wstring DisplayName(unsigned adapter) {
    return L"Soak adapter " + std::to_wstring(adapter);
}

std::string PhysicalPortName(unsigned adapter) {
    return fmt::format("20:00:02:05:7C:00:{:02X}:01", adapter);
}

std::string VirtualPortName(unsigned adapter, unsigned child, unsigned slot) {
    return fmt::format("2F:{:02X}:02:05:7C:{:02X}:{:02X}:02", slot, child, adapter);
}

bool IsPortName(const std::string& text) {
    if (text.size() != 23)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i % 3 == 2 ? text[i] != ':' : std::string_view("0123456789ABCDEF").find(text[i]) == std::string::npos)
            return false;
    return true;
}

std::filesystem::path TopologyFile(const std::filesystem::path& folder) {
    return folder / L"topology.json";
}

std::string TopologyText(const Generation& generation) {
    std::string text = "{\"adapters\": [";
    for (unsigned a = 0; a < generation.present; ++a)
        text += (a ? ",\n" : "") + AdapterText({a, generation.adapters[a].version}, generation.adapters[a].fcoe);
    return text + "]}\n";
}

Generation Change(const Generation& generation, std::mt19937& random) {
    Generation next = generation;
    ++next.number;
    switch (random() % 8) {
    case 0: { // the last ones come or go; one is always there
        const unsigned present = std::max(1 + random() % ADAPTERS, 1 + random() % ADAPTERS);
        for (unsigned a = next.present; a < present; ++a)
            ++next.adapters[a].version;
        next.present = present;
        break;
    }
    case 1: {
        auto& adapter = next.adapters[random() % ADAPTERS];
        adapter.fcoe = random() % 4 != 0;
        break;
    }
    default:
        ++next.adapters[random() % ADAPTERS].version;
    }
    return next;
}

std::wstring Resource(unsigned id) {
    static const HMODULE module = GetModuleHandleW(L"QelColib.dll");
    const wchar_t* text = nullptr; // in the module's resource, without a terminator
    const int length = LoadStringW(module, id, reinterpret_cast<wchar_t*>(&text), 0);
    return text ? std::wstring(text, length) : std::wstring();
}

unsigned LinkState(unsigned adapter) {
    return std::array{IDS_QEL_LINK_UP, IDS_QEL_LINK_PFC_MISMATCH, IDS_QEL_LINK_DCB_DISABLED,
                      IDS_QEL_LINK_APP_DISABLED_LOCALLY}[adapter % 4];
}

template <> std::vector<QEL_FCOE_HBA> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    auto record = Identified<QEL_FCOE_HBA>(view.adapter);
    record.strType = Text(IDS_QEL_FCOE_HBA);
    record.strPortWWN = Wide(PhysicalPortName(view.adapter));
    record.strNodeWWN = Wide(content.Name(0x10));
    record.ulPortFcId = content.FcId();
    record.strPciLocation =
        Wide(fmt::format("PCI bus {}, device {}, function {}", 10 + view.adapter, view.adapter, content.version % 8));
    const std::map<unsigned, const char*> speeds = {{1, "1 Gbps"}, {2, "2 Gbps"}, {4, "10 Gbps"}, {8, "4 Gbps"}};
    const auto speed = speeds.find(content.Speed());
    record.strPortSpeed = Wide(speed == speeds.end() ? "Unknown" : speed->second);
    record.strAdapterName = Wide(fmt::format("com.orvan-soak-{}", view.adapter));
    record.strModel = Wide(fmt::format("{:02}", content.version % 100));
    std::vector<QEL_FCOE_HBA> records;
    const std::vector<unsigned> offline{IDS_QEL_LINK_PORT_OFFLINE};
    for (const unsigned state : content.IsOnline() ? view.linkStates : offline) {
        record.strFcoeLinkStatus = Text(state);
        records.push_back(record);
    }
    return records;
}

template <> std::vector<QEL_FCOE_FABRIC> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    std::vector<QEL_FCOE_FABRIC> records;
    for (const bool isVirtual : {false, true}) {
        if (isVirtual && view.virtualPorts.empty())
            break;
        auto record = Identified<QEL_FCOE_FABRIC>(view.adapter);
        record.strName = FabricName(content, isVirtual);
        record.strWWN1 = Wide(content.Name(0x11));
        record.strWWN2 = Wide(content.Name(0x12));
        record.strWWN3 = Wide(content.Name(0x13));
        record.ulEntryWord = content.version;
        record.strKind = Text(isVirtual ? IDS_QEL_VIRTUAL : IDS_QEL_PHYSICAL);
        record.ulKind = isVirtual;
        record.ulEntryByte = content.Low();
        record.ulNumber = content.FabricNumber();
        records.push_back(record);
    }
    return records;
}

template <> std::vector<QEL_FCOE_PORT> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    auto record = Identified<QEL_FCOE_PORT>(view.adapter);
    record.strNodeWWN = Wide(content.Name(0x10));
    record.strPortWWN = Wide(PhysicalPortName(view.adapter));
    record.strKind = Text(IDS_QEL_PHYSICAL_PORT);
    record.ulWordA = record.ulWordB = content.FcId();
    record.strWWN3 = Wide(content.Name(0x11));
    record.strFabricName = FabricName(content, false);
    std::vector<QEL_FCOE_PORT> records{record};
    record.ulPortType = VIRTUAL_PORT_TYPE;
    record.strKind = Text(IDS_QEL_VIRTUAL_PORT);
    record.strFabricName = FabricName(content, true);
    for (const std::string& port : view.virtualPorts) {
        record.strPortWWN = Wide(port);
        records.push_back(record);
    }
    return records;
}

template <> std::vector<QEL_FCOE_TARGET> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    std::vector<QEL_FCOE_TARGET> records;
    ForEachTarget(view, [&](const std::string& port, bool isVirtual, unsigned t) {
        auto record = Identified<QEL_FCOE_TARGET>(view.adapter);
        record.strNodeWWN = Wide(content.Name(0x51));
        record.strPortWWN = Wide(content.TargetName(t));
        record.ulScsiBus = view.adapter;
        record.ulScsiTarget = t;
        record.ulFcId = content.TargetFcId(t);
        record.ulNumber = content.version & 0xFFFF;
        record.strVendor = Wide(content.Vendor(t));
        record.strSerial = Wide(content.Serial(t));
        record.strInitiatorPortWWN = Wide(port);
        record.strOwningPortWWN = Wide(content.Name(0x11));
        record.strFabricName = FabricName(content, isVirtual);
        for (unsigned i = 0; i < 8; ++i)
            record.byInitiatorPortWWN[i] = static_cast<BYTE>(std::stoul(port.substr(i * 3, 2), nullptr, 16));
        record.ulPortType = isVirtual ? VIRTUAL_PORT_TYPE : 0;
        records.push_back(record);
    });
    return records;
}

template <> std::vector<QEL_FCOE_LUN> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    std::vector<QEL_FCOE_LUN> records;
    ForEachTarget(view, [&](const std::string& port, bool isVirtual, unsigned t) {
        for (unsigned l = 0; l < content.Luns(t); ++l) {
            auto record = Identified<QEL_FCOE_LUN>(view.adapter);
            record.ulOsLun = l;
            record.ulScsiBus = view.adapter;
            record.ulScsiTarget = t;
            record.strOsDeviceName = Wide(content.Device(t, l));
            record.strCapacity = Wide(fmt::format("{} MB", content.Megabytes(l)));
            record.strBlockSize = Wide(fmt::format("{} bytes", content.BlockLength()));
            record.strTargetPortWWN = Wide(content.TargetName(t));
            record.strOwningPortWWN = Wide(content.Name(0x11));
            record.strInitiatorPortWWN = Wide(port);
            record.strFabricName = FabricName(content, isVirtual);
            records.push_back(record);
        }
    });
    return records;
}

template <> std::vector<QEL_FCOE_VLAN> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    std::vector<QEL_FCOE_VLAN> records;
    for (unsigned v = 0; v < content.Vlans(); ++v) {
        auto record = Identified<QEL_FCOE_VLAN>(view.adapter);
        record.strName = Wide(fmt::format("VLAN {}", 100 + v));
        record.ulVlanId = 100 + v;
        record.ulState = content.VlanState(v);
        record.strState = Text(record.ulState == 1 ? IDS_QEL_ACTIVE : IDS_QEL_INACTIVE);
        records.push_back(record);
    }
    return records;
}

template <> std::vector<QEL_FCOE_STATISTIC> Expected(const View& view) {
    const Content content{view.adapter, view.version};
    constexpr unsigned TX_KILOBYTES = 2, RX_KILOBYTES = 6;
    std::vector<QEL_FCOE_STATISTIC> records;
    for (unsigned c = 0; c < std::size(COUNTERS); ++c) {
        auto record = Identified<QEL_FCOE_STATISTIC>(view.adapter);
        record.strLabel = Text(IDS_QEL_STAT_TX_FRAMES + c);
        if (COUNTERS[c])
            record.llValue = content.Counter(c);
        else if (c == TX_KILOBYTES || c == RX_KILOBYTES)
            record.llValue = content.Counter(c - 1) * 4 / 1024;
        records.push_back(record);
    }
    return records;
}

} // namespace soak
