#include "simulator/control/Call.h"

#include <algorithm>

namespace sim {
namespace {

bool Concerns(const Fault& fault, const Adapter* adapter) {
    return !fault.adapter || (adapter && *fault.adapter == adapter->index);
}

// Every matching fault counts the call; the first that is due shows itself.
const Fault* DueFault(const Scene& scene, Function function, const Adapter* adapter) {
    const auto& faults = scene.FaultsOf(function);
    if (faults.empty() || !scene.armed.load(std::memory_order_relaxed))
        return nullptr;
    const Fault* due = nullptr;
    for (const auto& progress : faults) {
        const Fault& fault = *progress->fault;
        if (!Concerns(fault, adapter))
            continue;
        const std::uint64_t call = ++*progress->calls;
        const std::uint64_t first = fault.onCall ? fault.onCall : 1;
        if (!due && !fault.missing && call >= first && call < first + fault.times)
            due = &fault;
    }
    return due;
}

// What the pattern gives is what the request has.
template <class Value> bool Fits(const std::optional<Value>& pattern, const std::optional<Value>& value) {
    return !pattern || pattern == value;
}

bool Fits(const Arguments& pattern, const Arguments& request) {
    return Fits(pattern.target, request.target) && Fits(pattern.lun, request.lun) && Fits(pattern.evpd, request.evpd) &&
           Fits(pattern.page, request.page) && Fits(pattern.room, request.room);
}

// Whether the call goes on as without the fault, however long it waited.
bool OnlyDelays(const Fault& fault) {
    return !fault.status && !fault.count && !fault.garbage && !fault.unterminated;
}

} // namespace

bool Call::IsOfScene(Function function) {
    const sim::Scene& scene = Scene();
    if (scene.IsTimeUp()) {
        TakeSteps();
        return !m_scene.Renew();
    }
    if (!scene.IsWaitingFor(function, m_about))
        return true;
    switch (scene.world->CountCall(scene.version, scene.next->calls)) {
    case World::Counted::Yes:
        return true;
    case World::Counted::Last: // the world moves on while this call ends as it began
        TakeSteps();
        return true;
    default:
        TakeSteps();
        return !m_scene.Renew();
    }
}

void Call::TakeSteps() {
    World& world = *Scene().world;
    const std::uint32_t taken = world.TakeSteps(Scene().version);
    if (taken == 0)
        return;
    if (m_file || CallLog::Instance().IsOn())
        CallLog::Instance().Write("timeline: " + std::to_string(taken) + (taken == 1 ? " step" : " steps") + " taken",
                                  world.Version(), m_file);
    Simulation::Instance().ShowNewest();
}

void Call::Begin(Function function) {
    m_function = function.index;
    m_logged = m_file || CallLog::Instance().IsOn();
    CallLog::Instance().Count(function);
    if (m_logged)
        m_line = function.Name();
    m_fault = DueFault(Scene(), function, m_about);
    if (!m_fault)
        return;
    if (m_fault->delayMs)
        Sleep(m_fault->delayMs);
    if (m_fault->throws) {
        if (m_logged)
            Write(m_line + " throws");
        throw ThrownFault(*m_fault, "simulated fault of " + std::string(function.Name()));
    }
}

const Reply* Call::FindReply(const Arguments& request) {
    if (!Scene().armed.load(std::memory_order_relaxed) || (m_fault && !OnlyDelays(*m_fault)))
        return nullptr;
    for (const auto& progress : Scene().answers[m_function]) {
        const Answer& answer = *progress->answer;
        if (answer.adapter != m_about->index || answer.replies.empty() || !Fits(answer.arguments, request))
            continue;
        const Reply& reply = answer.replies[std::min((*progress->requests)++, answer.replies.size() - 1)];
        if (reply.throws) {
            if (m_logged)
                Write(m_line + " throws");
            throw std::runtime_error("recorded exception of " + std::string(FUNCTION_NAMES[m_function]));
        }
        return reply.IsOwn() ? nullptr : &reply;
    }
    return nullptr;
}

void Call::Append(const char* name, const std::string& value) {
    m_line += ' ';
    m_line += name;
    m_line += '=';
    m_line += value;
}

void Call::AppendResult(std::uint64_t result) {
    m_line += " -> ";
    m_line += std::to_string(result);
}

Call::~Call() {
    if (m_logged)
        Write(m_line);
}

} // namespace sim
