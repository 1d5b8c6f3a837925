#include "simulator/control/SimControl.h"

#include <mutex>
#include <set>
#include <string>

#include "simulator/control/CallLog.h"
#include "simulator/control/Simulation.h"

namespace {

// A text that stays; null for an empty one. There are no more of them than mistakes that somebody made.
const char* Kept(const std::string& error) {
    static std::mutex lock;
    static std::set<std::string> errors;
    const std::lock_guard guard(lock);
    return error.empty() ? nullptr : errors.insert(error).first->c_str();
}

} // namespace

extern "C" {

const char* OrvanSim_LoadTopology(const char* json) {
    return Kept(sim::Simulation::Instance().LoadText(json ? json : ""));
}

const char* OrvanSim_ReloadTopology(void) {
    return Kept(sim::Simulation::Instance().Load());
}

const char* OrvanSim_TopologyError(void) {
    return Kept(sim::Simulation::Instance().Error());
}

void OrvanSim_ArmFaults(int armed) {
    sim::Simulation::Instance().ArmFaults(armed != 0);
}

unsigned OrvanSim_CallCount(const char* function) {
    const std::size_t index = sim::FunctionIndex(function ? function : "");
    return index == sim::FUNCTION_COUNT ? 0xFFFFFFFF : sim::CallLog::Instance().CountOf(index);
}

void OrvanSim_ResetCalls(void) {
    sim::CallLog::Instance().Reset();
}

void OrvanSim_RecordCalls(int record) {
    sim::CallLog::Instance().Record(record != 0);
}

unsigned OrvanSim_CallLog(char* buffer, unsigned size) {
    const std::string lines = sim::CallLog::Instance().Recorded();
    if (buffer && size > 0)
        buffer[lines.copy(buffer, size - 1)] = '\0';
    return static_cast<unsigned>(lines.size() + 1);
}

} // extern "C"
