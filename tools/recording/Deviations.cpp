#include "tools/recording/Deviations.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "tools/recording/Texts.h"

namespace recording {
namespace {

constexpr std::uint32_t NO_DETAIL = 0xFFFFFFFF;
// The longest delay that a topology can have stands for a call that does not return.
constexpr std::uint32_t FOR_EVER = 3600000; // milliseconds

// Those whose answers are more than a status. What they answer otherwise stands among the answers.
constexpr auto RECORDED = std::to_array<std::string_view>(
    {"ORVAN_GetFCoEControllerInfo", "ORVAN_GetFCAndNICProperties", "ORVAN_GetTargetList", "ORVAN_GetVlanIdList",
     "ORVAN_GetFCPortList", "GetAdapterAttributes", "GetAdapterPortAttributes", "GetPortStatistics",
     "GetFcpTargetMapping", "ScsiInquiry", "ScsiReadCapacityV2"});
constexpr auto OF_DCB = std::to_array<std::string_view>({"get_dcb_config", "get_app_oper_state", "get_pfc_oper_state"});

template <class Names> bool IsAmong(const Names& names, const std::string& function) {
    return std::ranges::find(names, function) != names.end();
}

bool IsHresult(const std::string& function) {
    return function == "CreateInstance" || IsAmong(OF_DCB, function);
}

// What a function returns that works.
std::uint32_t Usual(const Journal& journal, const Request& request, const std::vector<Run>& runs) {
    if (IsAmong(OF_DCB, request.function)) // the adapter's description has it
        return runs.back().reply.status;
    if (request.function != "SupportsFcoe")
        return 0;
    const auto facts = std::ranges::find(journal.adapters, request.adapter, &AdapterFacts::identifier);
    return facts != journal.adapters.end() && facts->supportsFcoe ? 1 : 0;
}

Json Fault(const Request& request) {
    Json fault = {{"function", request.function}};
    if (!request.adapter.empty())
        fault["adapter"] = request.adapter;
    return fault;
}

void AddOutcome(Json& fault, const std::string& function, const Reply& reply) {
    if (reply.threw)
        fault["throw"] = true;
    else
        fault[IsHresult(function) ? "hresult" : "status"] = reply.status;
    // The second word of a core agent's result.
    if (reply.controller && *reply.controller != NO_DETAIL && !IsAmong(RECORDED, function))
        fault["detail"] = *reply.controller;
}

// Faults of a function whose answers are a status alone, on those of its calls that it failed.
void AddStatusFaults(Json& faults, const Journal& journal, const Request& request, const std::vector<Run>& runs) {
    const std::uint32_t usual = Usual(journal, request, runs);
    std::uint32_t call = 1;
    for (std::size_t i = 0; i < runs.size(); call += runs[i].times, ++i) {
        const Reply& reply = runs[i].reply;
        if (!reply.threw && reply.status == usual)
            continue;
        Json fault = Fault(request);
        const bool isLast = i + 1 == runs.size();
        if (call > 1)
            fault["on_call"] = call;
        if (!isLast)
            fault["times"] = runs[i].times;
        else if (call > 1)
            fault["times"] = UINT32_MAX; // without times it would be once
        AddOutcome(fault, request.function, reply);
        faults.push_back(std::move(fault));
    }
}

// A name that is not the adapter's opens nothing in the simulated suite either.
bool IsOfOtherName(const Journal& journal, const std::vector<AdapterModel>& models, const Request& request) {
    if (request.function != "ORVAN_GetFCoEControllerHandle")
        return false;
    const auto facts = std::ranges::find(journal.adapters, request.adapter, &AdapterFacts::identifier);
    return facts != journal.adapters.end() &&
           models[static_cast<std::size_t>(facts - journal.adapters.begin())].LibraryName() != request.target;
}

// A location that is found is two calls, for bus and address; when the first fails there is no other.
void AddPciFaults(Json& faults, const Request& request, const std::vector<Run>& runs) {
    // So often a device is asked that tells its bus alone, and never its address.
    constexpr std::uint32_t MANY = 100;
    std::uint32_t call = 1;
    const auto add = [&](std::uint32_t status, std::uint32_t from, std::uint32_t times) {
        Json fault = Fault(request);
        fault["status"] = status;
        if (from > 1 || times != UINT32_MAX)
            fault.update({{"on_call", from}, {"times", times}});
        faults.push_back(std::move(fault));
    };
    for (const Run& run : runs) {
        const bool isLast = &run == &runs.back();
        const std::uint32_t told = run.reply.count.value_or(0);
        if (told == 0)
            add(run.reply.status, call, isLast ? UINT32_MAX : run.times);
        for (std::uint32_t time = 0; told == 1 && time < (isLast ? MANY : run.times); ++time)
            add(run.reply.status, call + 2 * time + 1, 1);
        call += run.times * (told == 0 ? 1 : 2);
    }
}

// The one failure that all answers of a function and adapter are; null: they are not.
const Reply* OnlyFailure(const Journal& journal, const Request& one) {
    const Reply* failure = nullptr;
    const Request first{.function = one.function, .adapter = one.adapter};
    for (auto at = journal.replies.lower_bound(first);
         at != journal.replies.end() && at->first.function == one.function && at->first.adapter == one.adapter; ++at) {
        const Reply& reply = at->second.front().reply;
        if (at->second.size() != 1 || reply.IsGood() || !reply.IsBare() || (failure && reply != *failure))
            return nullptr;
        failure = &reply;
    }
    return failure;
}

Json ReplyOf(const Reply& reply, const std::optional<Reply>& expected) {
    if (expected && reply == *expected)
        return Json::object();
    if (reply.threw)
        return {{"throw", true}};
    Json json = {{"status", reply.status}};
    const auto add = [&](const char* key, const auto& value) {
        if (value)
            json[key] = *value;
    };
    add("count", reply.count);
    add("controller", reply.controller);
    add("size", reply.size);
    add("sense_size", reply.senseSize);
    add("scsi_status", reply.scsiStatus);
    if (!reply.data.empty())
        json["data"] = Hex(reply.data);
    if (!reply.sense.empty())
        json["sense"] = Hex(reply.sense);
    return json;
}

Json ArgumentsOf(const Request& request) {
    Json answer = {{"function", request.function}, {"adapter", request.adapter}};
    if (!request.target.empty()) {
        answer["target"] = request.target;
        answer["lun"] = request.lun;
    }
    if (request.function == "ScsiInquiry") {
        answer["evpd"] = request.evpd;
        answer["page"] = request.page;
    }
    if (request.room != 0)
        answer["room"] = request.room;
    return answer;
}

// Counters that run are no deviation: none of them goes back, and those that are not supported stay so.
bool IsOfRunningCounters(const Request& request, const std::vector<Run>& runs) {
    if (request.function != "GetPortStatistics")
        return false;
    std::vector<std::int64_t> before;
    for (const Run& run : runs) {
        if (!run.reply.IsGood() || run.reply.data.size() % sizeof(std::int64_t) != 0)
            return false;
        std::vector<std::int64_t> counters(run.reply.data.size() / sizeof(std::int64_t));
        std::memcpy(counters.data(), run.reply.data.data(), run.reply.data.size());
        for (std::size_t i = 0; i < std::min(before.size(), counters.size()); ++i)
            if (counters[i] != before[i] && (before[i] < 0 || counters[i] < before[i]))
                return false;
        before = std::move(counters);
    }
    return true;
}

} // namespace

Json FaultsOf(const Journal& journal, const std::vector<AdapterModel>& models) {
    Json faults = Json::array();
    for (const auto& [function, adapter] : journal.hanging) {
        Json fault = Fault({.function = function, .adapter = adapter});
        fault["delay_ms"] = FOR_EVER;
        faults.push_back(std::move(fault));
    }
    for (const std::string& function : journal.missing)
        faults.push_back({{"function", function}, {"missing", true}});
    const Request* before = nullptr;
    for (const auto& [request, runs] : journal.replies) {
        if (!IsAmong(RECORDED, request.function)) {
            if (request.function == PCI_PROPERTY)
                AddPciFaults(faults, request, runs);
            else if (!IsOfOtherName(journal, models, request))
                AddStatusFaults(faults, journal, request, runs);
            continue;
        }
        const bool isNew = !before || before->function != request.function || before->adapter != request.adapter;
        before = &request;
        if (const Reply* const failure = isNew ? OnlyFailure(journal, request) : nullptr) {
            Json fault = Fault(request);
            AddOutcome(fault, request.function, *failure);
            faults.push_back(std::move(fault));
        }
    }
    return faults;
}

Json AnswersOf(const Journal& journal, const std::vector<AdapterModel>& models) {
    Json answers = Json::array();
    for (std::size_t i = 0; i < models.size(); ++i)
        for (const auto& [request, runs] : journal.replies) {
            if (request.adapter != journal.adapters[i].identifier || !IsAmong(RECORDED, request.function) ||
                models[i].IsExplained(request) || IsOfRunningCounters(request, runs) || OnlyFailure(journal, request))
                continue;
            const auto expected = models[i].Expected(request);
            if (runs.size() == 1 && expected && runs.front().reply == *expected)
                continue;
            Json replies = Json::array();
            for (std::size_t run = 0; run < runs.size(); ++run) // the last one stays
                for (std::uint32_t time = 0; time < (run + 1 == runs.size() ? 1 : runs[run].times); ++time)
                    replies.push_back(ReplyOf(runs[run].reply, expected));
            Json answer = ArgumentsOf(request);
            answer["replies"] = std::move(replies);
            answers.push_back(std::move(answer));
        }
    return answers;
}

} // namespace recording
