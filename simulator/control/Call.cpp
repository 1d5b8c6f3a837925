#include "simulator/control/Call.h"

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
