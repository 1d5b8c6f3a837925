// The format of one entry of a topology's faults.
#include <algorithm>

#include "FcoeAgent/HbaApi.h"
#include "simulator/topology/Format.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

constexpr NamedNumber STATUSES[] = {
    {"HBA_STATUS_OK", HBA_STATUS_OK},
    {"HBA_STATUS_ERROR", HBA_STATUS_ERROR},
    {"HBA_STATUS_ERROR_NOT_SUPPORTED", HBA_STATUS_ERROR_NOT_SUPPORTED},
    {"HBA_STATUS_ERROR_INVALID_HANDLE", HBA_STATUS_ERROR_INVALID_HANDLE},
    {"HBA_STATUS_ERROR_ARG", HBA_STATUS_ERROR_ARG},
    {"HBA_STATUS_ERROR_ILLEGAL_WWN", HBA_STATUS_ERROR_ILLEGAL_WWN},
    {"HBA_STATUS_ERROR_ILLEGAL_INDEX", HBA_STATUS_ERROR_ILLEGAL_INDEX},
    {"HBA_STATUS_ERROR_MORE_DATA", HBA_STATUS_ERROR_MORE_DATA},
    {"HBA_STATUS_ERROR_STALE_DATA", HBA_STATUS_ERROR_STALE_DATA},
    {"HBA_STATUS_SCSI_CHECK_CONDITION", HBA_STATUS_SCSI_CHECK_CONDITION},
    {"HBA_STATUS_ERROR_BUSY", HBA_STATUS_ERROR_BUSY},
    {"HBA_STATUS_ERROR_TRY_AGAIN", HBA_STATUS_ERROR_TRY_AGAIN},
    {"HBA_STATUS_ERROR_UNAVAILABLE", HBA_STATUS_ERROR_UNAVAILABLE},
    {"HBA_STATUS_ERROR_ELS_REJECT", HBA_STATUS_ERROR_ELS_REJECT},
    {"HBA_STATUS_ERROR_INVALID_LUN", HBA_STATUS_ERROR_INVALID_LUN},
    {"HBA_STATUS_ERROR_INCOMPATIBLE", HBA_STATUS_ERROR_INCOMPATIBLE},
    {"HBA_STATUS_ERROR_AMBIGUOUS_WWN", HBA_STATUS_ERROR_AMBIGUOUS_WWN},
    {"HBA_STATUS_ERROR_LOCAL_BUS", HBA_STATUS_ERROR_LOCAL_BUS},
};

constexpr NamedNumber HRESULTS[] = {
    {"E_NOTIMPL", 0x80004001},      {"E_NOINTERFACE", 0x80004002}, {"E_POINTER", 0x80004003},
    {"E_ABORT", 0x80004004},        {"E_FAIL", 0x80004005},        {"E_UNEXPECTED", 0x8000FFFF},
    {"E_ACCESSDENIED", 0x80070005}, {"E_OUTOFMEMORY", 0x8007000E}, {"E_INVALIDARG", 0x80070057}};

void DescribeResults(Keys& keys, Fault& fault) {
    keys.Number({.name = "status",
                 .about = "Returned at once, without the work: an HBA status, a core agent's code, a last error",
                 .byDefault = "what the work yields",
                 .names = STATUSES},
                fault.status);
    std::optional<std::uint32_t> hresult;
    const bool both = keys.Has("status") && keys.Has("hresult");
    keys.Rule(R"({"not": {"required": ["status", "hresult"]}})");
    if (keys.Number({.name = "hresult",
                     .about = "The same of a function that returns an HRESULT",
                     .byDefault = "what the work yields",
                     .names = HRESULTS},
                    hresult)) {
        fault.status = hresult;
        fault.isHresult = true;
    }
    if (both)
        keys.Refuse("hresult", "a fault has either a \"status\" or an \"hresult\"");
    keys.Number({.name = "detail", .about = "Second word of a core agent's result", .byDefault = "all ones"},
                fault.detail);
    keys.Number({.name = "count", .about = "Written back as the list's count", .byDefault = "the true one"},
                fault.count);
    keys.Number({.name = "lock_taken", .about = "What StartLock reports as taken", .byDefault = "the true one"},
                fault.lockTaken);
}

} // namespace

bool DescribeAdapterOf(Keys& keys, const Key& key, const Topology& topology, std::uint32_t& adapter) {
    std::string identifier;
    if (!keys.Text(key, identifier))
        return false;
    if (const Adapter* found = topology.FindAdapter(Wide(identifier))) {
        adapter = found->index;
        return true;
    }
    // One whose identifier could not be read may be meant.
    if (std::ranges::none_of(topology.adapters, [](const Adapter& one) { return one.identifier.empty(); }))
        keys.RefuseExpected(key.name, "the identifier of an adapter of this topology");
    return false;
}

void Describe(Keys& keys, Fault& fault, const Topology& topology) {
    const bool known = keys.FunctionName({"function", "Name of the function", true}, fault.function);
    std::uint32_t adapter = 0;
    if (DescribeAdapterOf(keys,
                          {.name = "adapter",
                           .about = "Only for the adapter with this identifier",
                           .byDefault = "for calls of all adapters and of none"},
                          topology, adapter))
        fault.adapter = adapter;
    DescribeResults(keys, fault);
    if (keys.Number(
            {.name = "on_call",
             .about = "From this call on, counted from 1 among those that concern the fault; once without times",
             .byDefault = "from the first"},
            fault.onCall, {1}))
        fault.times = 1;
    keys.Number({.name = "times", .about = "For so many calls", .byDefault = "for all, with on_call for one"},
                fault.times, {1});
    keys.Number({"delay_ms", "The call waits first, milliseconds"}, fault.delayMs, {0, 3600000});
    keys.Flag({"throw", "The call throws a std::runtime_error"}, fault.throws);
    keys.Flag({"missing", "The export cannot be found, or the handler is null in the table; alone in its entry"},
              fault.missing);
    keys.Flag({"garbage", "Outputs are filled with A5h bytes"}, fault.garbage);
    keys.Flag({"unterminated", "Texts go on to the end of their arrays, without a terminator"}, fault.unterminated);
    keys.Rule(R"({"if": {"properties": {"missing": {"const": true}}, "required": ["missing"]},
        "then": {"maxProperties": 2, "properties": {"function": {"$ref": "#/$defs/found_by_name"}}}})");
    if (fault.missing && keys.KeyCount() != 2)
        keys.Refuse(nullptr, "a function that is missing has no other fault");
    if (fault.missing && known && fault.function > LAST_FOUND_BY_NAME)
        keys.RefuseExpected("function", "a function that is found by its name, for one that is missing");
}

} // namespace sim
