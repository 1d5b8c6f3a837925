#include "tests/faults/Contract.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include <fmt/format.h>

namespace {

constexpr unsigned OK = 0;
constexpr unsigned MORE_DATA = 7;
constexpr unsigned NAME_IN_USE = 16;
constexpr unsigned TOO_MANY_PORTS = 17;

// A line of a simulated neighbour's call log: "FUNCTION name=value ... -> RESULT count=N", "FUNCTION throws".
struct NeighbourCall {
    std::string_view function;
    bool throws = false;
    unsigned long long result = 0;
    std::optional<unsigned long long> count; // as the call left it
};

unsigned long long Number(std::string_view text) {
    unsigned long long value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

NeighbourCall Parse(std::string_view line) {
    NeighbourCall call;
    call.function = line.substr(0, line.find(' '));
    call.throws = line.ends_with(" throws");
    const std::size_t arrow = line.find(" -> ");
    if (arrow == line.npos)
        return call;
    const std::string_view after = line.substr(arrow + 4);
    call.result = Number(after);
    if (const std::size_t count = after.find("count="); count != after.npos)
        call.count = Number(after.substr(count + 6));
    return call;
}

std::vector<NeighbourCall> ParseAll(const std::vector<std::string>& lines) {
    std::vector<NeighbourCall> calls;
    for (const std::string& line : lines)
        calls.push_back(Parse(line));
    return calls;
}

// What the agent logs of a call's status: each line stands for one call. A "%" ends what is compared, and stands for
// the status where "%d" does.
struct StatusLines {
    const char* function;
    const char* success;
    const char* failure;
    const char* moreData = nullptr; // null: a failure as any
    const char* missing = nullptr;  // the function is not there
};

constexpr StatusLines STATUS[] = {
    {"ORVAN_InitializeLibrary", nullptr, "InitializeLibrary failed - Status - %d"},
    {"ORVAN_GetFCoEControllerInfo", nullptr, "Error Getting Handle", nullptr,
     "GetProcAddress of ORVAN_GetControllerHandle failed with error %"},
    {"GetAdapterAttributes", "CHBAAPIInt::GetAdapterAtrributes succeeded",
     "CHBAAPIInt::GetAdapterAtrributes failed with error: %"},
    {"GetAdapterPortAttributes", "CHBAAPIInt::GetAdapterPortAttributesHandler succeeded",
     "GetAdapterPortAttributesHandler Failed - Status = %d", nullptr, "m_bEntryPtsInited is false"},
    {"GetPortStatistics", "CHBAAPIInt::GetPortStatistics succeeded",
     "CHBAAPIInt::GetPortStatistics failed with error: %"},
    {"GetFcpTargetMapping", "CHBAAPIInt::GetFcpTargetMappingHandler Succeeded",
     "CHBAAPIInt::GetFcpTargetMappingHandler failed with error - %d",
     "CHBAAPIInt::GetFcpTargetMappingHandler failed with more data available"},
    {"ORVAN_GetTargetList", "CHBAAPIInt::GetTargetList Succeeded", "CHBAAPIInt::GetTargetList failed with error - %d",
     "CHBAAPIInt::GetTargetList failed with more data available", "CHBAAPIInt::GetTargetList pFnGetTargetList == NULL"},
    {"ORVAN_GetVlanIdList", "CHBAAPIInt::GetVlanIdList Succeeded", "CHBAAPIInt::GetVlanIdList failed with error - %d",
     "CHBAAPIInt::GetVlanIdList failed with more data available", "CHBAAPIInt::GetVLANList pFnVlanIdList == NULL"},
    {"ScsiInquiry", "RetrieveSCSIInfo - ScsiInquiryHandler Succeeded", "RetrieveSCSIInfo - ScsiInquiryHandler failed"},
    {"ScsiReadCapacityV2", "RetrieveLUNCapacityV2 Succeeded", "RetrieveLUNCapacityV2 failed - Status=%d"},
    {"ORVAN_SendReadCapacity16", "SendReadCapacity16 Succeeded", "SendReadCapacity16 failed"},
    {"ORVAN_RescanScsiBus", "CHBAAPIInt::RefreshTargetInfo Succeeded",
     "CHBAAPIInt::RefreshTargetInfo failed with return code Status = %d"},
    {"ORVAN_GeneratePortWWN", "GenerateVportWwpn Succeeded", "GenerateVportWwpn failed - status - %d"},
    {"ORVAN_CreateVPort", "CreateVport Succeeded", "CreateVport failed - status - %d"},
    {"ORVAN_RemoveVPort", "RemoveVport Succeeded", "RemoveVport failed - status - %d"},
};
// Of the port list's two calls only the second is told of.
constexpr StatusLines PORT_LIST = {"ORVAN_GetFCPortList", "GetVports Succeeded", "GetVports failed - status - %d"};
// Yields a handle instead of a status.
constexpr StatusLines OPEN_ADAPTER = {"ORVAN_GetFCoEControllerHandle", "Succeeded getting Adapter Handle - %d",
                                      "Error Getting Handle", nullptr,
                                      "GetProcAddress of ORVAN_GetControllerHandle failed with error %"};

// The text up to its "%".
std::string_view Fixed(const char* text) {
    return std::string_view(text, std::strcspn(text, "%"));
}

std::string Filled(const char* text, unsigned long long number) {
    std::string line(Fixed(text));
    if (std::strstr(text, "%d"))
        line += std::to_string(static_cast<int>(number));
    return line;
}

// The message as it is compared; empty for one that tells of no status.
std::string StatusLine(const std::string& message) {
    const auto Match = [&](const char* text) -> std::string {
        if (!text)
            return {};
        const std::string_view fixed = Fixed(text);
        const std::size_t at = text == std::string_view(STATUS[0].failure) ? message.find(fixed) : 0;
        if (at == message.npos || message.compare(at, fixed.size(), fixed) != 0)
            return {};
        if (!std::strchr(text, '%'))
            return message.size() == at + fixed.size() ? std::string(fixed) : std::string();
        return std::strstr(text, "%d") ? message.substr(at) : std::string(fixed);
    };
    const auto MatchAny = [&](const StatusLines& lines) {
        std::string found;
        for (const char* text : {lines.success, lines.failure, lines.moreData})
            if (found.empty())
                found = Match(text);
        return found;
    };
    std::string found = MatchAny(PORT_LIST);
    if (found.empty())
        found = MatchAny(OPEN_ADAPTER);
    for (const StatusLines& lines : STATUS)
        if (found.empty())
            found = MatchAny(lines);
    return found;
}

// The status lines that these calls have to leave, in their order.
std::vector<std::string> ExpectedStatusLines(const std::vector<NeighbourCall>& calls) {
    std::vector<std::string> expected;
    bool portsCounted = false; // the port list is asked for its count first
    for (const NeighbourCall& call : calls) {
        if (call.throws) {
            portsCounted = false;
            continue;
        }
        if (call.function == PORT_LIST.function) {
            if (portsCounted)
                expected.push_back(call.result == OK ? Filled(PORT_LIST.success, OK)
                                                     : Filled(PORT_LIST.failure, call.result));
            const bool counts = call.result == OK || call.result == MORE_DATA;
            portsCounted = !portsCounted && counts && static_cast<LONG>(call.count.value_or(0)) > 0;
            continue;
        }
        if (call.function == OPEN_ADAPTER.function) {
            expected.push_back(Filled(call.result ? OPEN_ADAPTER.success : OPEN_ADAPTER.failure, call.result));
            continue;
        }
        const auto* lines = std::ranges::find(STATUS, call.function, &StatusLines::function);
        if (lines == std::end(STATUS))
            continue; // its status is not looked at
        const char* text = call.result == OK                             ? lines->success
                           : call.result == MORE_DATA && lines->moreData ? lines->moreData
                                                                         : lines->failure;
        if (text)
            expected.push_back(Filled(text, call.result));
    }
    return expected;
}

std::string CheckStatusLines(const std::vector<NeighbourCall>& calls, const std::vector<std::string>& messages) {
    const auto expected = ExpectedStatusLines(calls);
    std::vector<std::string> found;
    for (const std::string& message : messages)
        if (auto line = StatusLine(message); !line.empty())
            found.push_back(std::move(line));
    const auto [wanted, got] = std::ranges::mismatch(expected, found);
    if (wanted == expected.end() && got == found.end())
        return {};
    return fmt::format("logged \"{}\" instead of \"{}\" of a call's status", got == found.end() ? "" : *got,
                       wanted == expected.end() ? "" : *wanted);
}

std::size_t Count(const std::vector<std::string>& messages, const std::function<bool(const std::string&)>& is) {
    return static_cast<std::size_t>(std::ranges::count_if(messages, is));
}

std::size_t CountCaught(const std::vector<std::string>& messages) {
    return Count(messages, [](const std::string& message) { return message.ends_with("Exception caught"); });
}

bool Logged(const std::vector<std::string>& messages, const std::string& message) {
    return std::ranges::find(messages, message) != messages.end();
}

std::size_t CountThrows(const std::vector<NeighbourCall>& calls) {
    return static_cast<std::size_t>(std::ranges::count_if(calls, &NeighbourCall::throws));
}

// The last call of that function; null: none.
const NeighbourCall* Last(const std::vector<NeighbourCall>& calls, std::string_view function) {
    const NeighbourCall* last = nullptr;
    for (const NeighbourCall& call : calls)
        if (call.function == function)
            last = &call;
    return last;
}

bool Succeeded(const NeighbourCall* call) {
    return call && !call->throws && call->result == OK;
}

// FALSE, and a line for each, when an adapter's work was ended; whatever statuses the library answers, the adapter's
// list is what could be read.
std::string CheckEnumeration(const Operation& operation, const Outcome& outcome,
                             const std::vector<std::string>& messages, const std::vector<NeighbourCall>& library,
                             const std::vector<NeighbourCall>& core) {
    const std::size_t ended =
        Count(messages, [&](const std::string& message) { return message.starts_with(operation.failure); });
    if (outcome.result != (ended == 0))
        return fmt::format("returned {} though {} adapters are logged as failed", outcome.result, ended);
    if (ended > CountThrows(library))
        return fmt::format("logged {} adapters as failed after {} exceptions", ended, CountThrows(library));
    // An exception ends the work of its adapter.
    const bool ends = std::ranges::any_of(
        library, [](const NeighbourCall& call) { return call.throws && call.function != "CloseAdapter"; });
    if (ends && ended == 0)
        return "succeeded though the library threw";
    if (Logged(messages, "Unable to retrieve adapter list!"))
        return "logged that there is no adapter list";

    const NeighbourCall* adapters = Last(core, "EnumerateAdapters");
    if (!Succeeded(adapters)) {
        if (!Logged(messages, "CQelFcoeAgentWin::GetAdaptersThatSupportFCOE - EnumerateAdapters failed!"))
            return "did not log that the core agent has no adapter list";
        return outcome.records ? "answered without an adapter list" : "";
    }
    return {};
}

// One entry for each refusal that got as far as the library.
std::string CheckVirtualPort(const Operation& operation, const std::string& work, const Outcome& outcome,
                             const std::vector<std::string>& messages, const std::vector<NeighbourCall>& library,
                             const std::vector<NeighbourCall>& core) {
    const NeighbourCall* lock = Last(core, "StartLock");
    const std::string refused = fmt::format("CQelFcoeAgentWin::{} - StartLock failed", operation.name);
    if (Logged(messages, refused) == Succeeded(lock))
        return "logged the configuration lock wrongly";
    if (!Succeeded(lock))
        return outcome.result || outcome.errors || !library.empty() ? "worked without the configuration lock" : "";
    const NeighbourCall* call = Last(library, work);
    if (outcome.result != Succeeded(call))
        return fmt::format("returned {}, unlike the library", outcome.result);
    if (outcome.result || CountThrows(library))
        return outcome.errors ? "reported an error that there is none" : "";
    const bool creates = work == "ORVAN_CreateVPort";
    const ULONG number = !creates                                 ? 207
                         : call && call->result == NAME_IN_USE    ? 205
                         : call && call->result == TOO_MANY_PORTS ? 204
                                                                  : 206;
    if (outcome.errors != 1 || outcome.error != (0x37000000 | number))
        return fmt::format("reported {} errors, {:#x}, instead of {}", outcome.errors, outcome.error, number);
    return {};
}

std::string CheckResult(const Operation& operation, Harm harm, const Outcome& outcome,
                        const std::vector<std::string>& messages, const std::vector<NeighbourCall>& library,
                        const std::vector<NeighbourCall>& core) {
    if (operation.failure)
        return CheckEnumeration(operation, outcome, messages, library, core);
    if (operation.Is("CreateVPort"))
        return CheckVirtualPort(operation, "ORVAN_CreateVPort", outcome, messages, library, core);
    if (operation.Is("DeleteVPort"))
        return CheckVirtualPort(operation, "ORVAN_RemoveVPort", outcome, messages, library, core);
    if (operation.Is("Uninstall"))
        return outcome.result ? "" : "failed";
    const bool rescans = operation.Is("RefreshTargets");
    const NeighbourCall* call = Last(library, rescans ? "ORVAN_RescanScsiBus" : "ORVAN_GeneratePortWWN");
    const bool nothingToAsk = rescans && !call && harm == Harm::Missing;
    if (outcome.result != (nothingToAsk || Succeeded(call)))
        return fmt::format("returned {}, unlike the library", outcome.result);
    return outcome.errors ? "reported an error" : "";
}

} // namespace

std::string CheckContract(const Operation& operation, Harm harm, const Observation& observation) {
    const Outcome& outcome = observation.outcome;
    const auto& messages = observation.messages;
    const auto library = ParseAll(observation.libraryCalls);
    const auto core = ParseAll(observation.coreCalls);
    std::string problem = CheckStatusLines(library, messages);
    if (problem.empty())
        problem = CheckResult(operation, harm, outcome, messages, library, core);
    if (!problem.empty())
        return problem;
    if (const auto thrown = CountThrows(library) + CountThrows(core); CountCaught(messages) != thrown)
        return fmt::format("logged {} exceptions of {}", CountCaught(messages), thrown);
    const bool asked = harm == Harm::Missing || observation.calls != 0;
    if ((harm == Harm::None || !asked) && !(outcome.result && outcome.whole && outcome.errors == 0))
        return "did not give the full answer though nothing failed";
    return {};
}
