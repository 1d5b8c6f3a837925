#include "tests/reading/Faults.h"

#include <algorithm>
#include <span>
#include <string_view>

#include <fmt/format.h>

#include "tests/reading/ReadingHost.h"

namespace {

struct Kind {
    std::string name;
    std::string members;
};

constexpr const char* MOMENTS[] = {"", R"(, "on_call": 1)", R"(, "on_call": 2)"};

std::vector<Kind> KindsOf(const Function& function) {
    if (function.neighbour == Neighbour::DcbService)
        return {{"E_FAIL", R"("hresult": "0x80004005")"},
                {"E_ACCESSDENIED", R"("hresult": "0x80070005")"},
                {"server unavailable", R"("hresult": "0x800706BA")"},
                {"slow", R"("delay_ms": 30)"}};
    std::vector<Kind> kinds = {{"exception", R"("throw": true)"}, {"slow", R"("delay_ms": 3)"}};
    kinds.push_back({"success without work", R"("status": 0)"});
    if (function.neighbour == Neighbour::CoreAgent) {
        for (const char* status : {"1", "5", "4294967295"})
            kinds.push_back({fmt::format("status {}", status), fmt::format(R"("status": {})", status)});
        return kinds;
    }
    for (const int status : {1, 2, 3, 7, 8, 9, 11, 29})
        kinds.push_back({fmt::format("status {}", status), fmt::format(R"("status": {})", status)});
    kinds.push_back({"garbage", R"("garbage": true)"});
    kinds.push_back({"garbage and a failure", R"("garbage": true, "status": 1)"});
    if (function.entries == 0)
        return kinds;
    const unsigned entries = function.entries;
    for (const unsigned count : {0u, 1u, entries - 1, entries, entries + 1, 1u << 16, 0xFFFFFFFFu}) {
        kinds.push_back({fmt::format("more data, count {}", count), fmt::format(R"("status": 7, "count": {})", count)});
        kinds.push_back({fmt::format("success, count {}", count), fmt::format(R"("status": 0, "count": {})", count)});
        kinds.push_back({fmt::format("count {}", count), fmt::format(R"("count": {})", count)});
    }
    return kinds;
}

} // namespace

const std::vector<Function>& Functions() {
    constexpr auto CORE = Neighbour::CoreAgent;
    constexpr auto DCB = Neighbour::DcbService;
    static const std::vector<Function> functions = {
        {"HBA_RegisterLibraryV2", Neighbour::Library, 0, false, true},
        {"ORVAN_InitializeLibrary", Neighbour::Library, 0, false, true},
        {"ORVAN_GetFCoEControllerInfo"},
        {"ORVAN_GetFCoEControllerHandle"},
        {"ORVAN_GetFCAndNICProperties"},
        {"ORVAN_GetTargetList", Neighbour::Library, 3},
        {"ORVAN_GetVlanIdList", Neighbour::Library, 2},
        {"ORVAN_SendReadCapacity16"},
        {"ORVAN_RescanScsiBus"},
        {"ORVAN_GeneratePortWWN"},
        {"ORVAN_CreateVPort"},
        {"ORVAN_RemoveVPort"},
        {"ORVAN_GetFCPortList", Neighbour::Library, 2},
        {"CloseAdapter"},
        {"GetAdapterAttributes"},
        {"GetAdapterPortAttributes", Neighbour::Library, 0, true, true},
        {"GetPortStatistics"},
        {"GetFcpTargetMapping", Neighbour::Library, 6},
        {"ScsiInquiry"},
        {"ScsiReadCapacityV2"},
        {"GetCoreAgentPvt", CORE, 0, false},
        {"WaitForApplyDone", CORE, 0, false},
        {"EnumerateAdapters", CORE, 0, false},
        {"GetAdapterInfo", CORE},
        {"StartLock", CORE, 0, false},
        {"DoneLock", CORE, 0, false},
        {"SupportsFcoe", CORE},
        {"CreateInstance", DCB, 0, false, true},
        {"get_dcb_config", DCB, 0, true, true},
        {"get_app_oper_state", DCB, 0, true, true},
        {"get_pfc_oper_state", DCB, 0, true, true},
    };
    return functions;
}

std::vector<Fault> FaultsOf(const Function& function) {
    const std::string whom =
        function.ofOneAdapter ? fmt::format(R"(, "adapter": "{}")", ReadingHost::FAULTY) : std::string();
    std::vector<Fault> faults;
    const auto add = [&](const std::string& kind, int moment, const std::string& members) {
        faults.push_back({function.name, kind, moment,
                          fmt::format(R"({{"function": "{}", {}}})", function.name, members), function.ofOneAdapter});
    };
    for (const Kind& kind : KindsOf(function))
        for (int moment = 0; moment < static_cast<int>(std::size(MOMENTS)); ++moment)
            add(kind.name, moment, kind.members + MOMENTS[moment] + whom);
    if (function.neighbour == Neighbour::Library) {
        add("missing", 0, R"("missing": true)");
        faults.back().ofOneAdapter = false;
    }
    return faults;
}

namespace {

// An entry of the two lists of what cannot be told, and why.
struct Exception {
    const char* function;
    std::string_view kind;    // a star stands for what may follow
    std::string_view moments; // digits
    const char* why;
};

constexpr char LIE[] = "It reported success, and what it gave has the form of an answer.";
constexpr char EMPTY[] = "It reported success and a list without entries, as of an adapter that has none.";
constexpr char SHORTER[] = "It reported success; entries may have gone since another reading, for others are there.";

constexpr Exception UNDECIDABLE[] = {
    {"ORVAN_GetTargetList", "success, count 0", "012", EMPTY},
    {"ORVAN_GetTargetList", "success without work", "12", SHORTER},
    {"ORVAN_GetTargetList", "success, count 1", "1", SHORTER},
    {"ORVAN_GetTargetList", "success, count *", "2", SHORTER},
    {"ORVAN_GetTargetList", "count 0", "2", SHORTER},
    {"ORVAN_GetTargetList", "count 1", "2", SHORTER},
    {"ORVAN_GetTargetList", "garbage", "2", SHORTER},
    {"GetFcpTargetMapping", "success, count 0", "012", EMPTY},
    {"GetFcpTargetMapping", "success without work", "12", SHORTER},
    {"GetFcpTargetMapping", "success, count 1", "1", SHORTER},
    {"GetFcpTargetMapping", "success, count *", "2", SHORTER},
    {"GetFcpTargetMapping", "count 0", "2", SHORTER},
    {"GetFcpTargetMapping", "count 1", "2", SHORTER},
    {"GetFcpTargetMapping", "garbage", "2", SHORTER},
    {"ORVAN_GetVlanIdList", "success, count 0", "01", EMPTY},
    {"ORVAN_GetVlanIdList", "count 1", "2", SHORTER},
    {"ORVAN_GetFCPortList", "count 1", "2", SHORTER},
    {"GetAdapterAttributes", "success without work", "01", "An adapter may have no model, and no more is shown of it."},
    {"GetAdapterAttributes", "garbage", "01", LIE},
    {"GetAdapterPortAttributes", "garbage", "012", LIE},
    {"GetPortStatistics", "success without work", "01", "Counters of zero are those of an adapter just started."},
    {"GetPortStatistics", "garbage", "01", LIE},
    {"ScsiInquiry", "success without work", "1", "A target may have no serial number."},
    {"ScsiInquiry", "garbage", "012", LIE},
    {"EnumerateAdapters", "success without work", "0", "The core agent may know no adapter."},
    {"SupportsFcoe", "success without work", "012", "The answer is no, as of an adapter that cannot do FCoE."},
};

constexpr Exception UNNAMED[] = {
    {"ORVAN_GetFCoEControllerHandle", "garbage*", "012", "It gave a handle, and what takes the handle refuses it."},
};

bool Fits(const Exception& exception, const Fault& fault) {
    const bool open = exception.kind.ends_with('*');
    const std::string_view kind = exception.kind.substr(0, exception.kind.size() - open);
    return fault.function == exception.function && (open ? fault.kind.starts_with(kind) : fault.kind == kind) &&
           exception.moments.find(static_cast<char>('0' + fault.moment)) != exception.moments.npos;
}

const char* Find(std::span<const Exception> exceptions, const Fault& fault) {
    const auto found = std::ranges::find_if(exceptions, [&](const auto& exception) { return Fits(exception, fault); });
    return found == exceptions.end() ? nullptr : found->why;
}

} // namespace

const char* WhyUndecidable(const Fault& fault) {
    return Find(UNDECIDABLE, fault);
}

const char* WhyNotNamed(const Fault& fault) {
    return Find(UNNAMED, fault);
}
