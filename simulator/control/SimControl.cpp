#include "simulator/control/SimControl.h"

#include <algorithm>

#include "simulator/control/CallLog.h"
#include "simulator/control/Simulation.h"

namespace {

const char* ErrorOf(const sim::Scene& scene) {
    return scene.error.empty() ? nullptr : scene.error.c_str();
}

} // namespace

extern "C" {

const char* OrvanSim_LoadTopology(const char* json) {
    return ErrorOf(sim::Simulation::Instance().LoadText(json));
}

const char* OrvanSim_ReloadTopology(void) {
    return ErrorOf(sim::Simulation::Instance().Load());
}

const char* OrvanSim_TopologyError(void) {
    return ErrorOf(sim::Simulation::Instance().Current());
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
