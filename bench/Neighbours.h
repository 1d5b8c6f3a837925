// The simulated neighbours, driven by the benchmark.
#pragma once

#include <string>

#include "bench/FindFunction.h"
#include "bench/Machine.h"
#include "simulator/control/SimControl.h"

struct Neighbours {
    explicit Neighbours(const Machine& machine)
        : library(LoadLibraryW(machine.Module(L"orvanhapi.dll").c_str())),
          coreAgent(LoadLibraryW(machine.Module(L"CoreAgnt.dll").c_str())),
          load(NeedFunction<decltype(load)>(library, "OrvanSim_LoadTopology")),
          calls(NeedFunction<decltype(calls)>(library, "OrvanSim_CallCount")),
          reset(NeedFunction<decltype(reset)>(library, "OrvanSim_ResetCalls")) {}

    void Load(const std::string& topology) const {
        if (const char* error = load(topology.c_str()))
            throw std::runtime_error(error);
    }

    HMODULE library;
    HMODULE coreAgent;
    decltype(&OrvanSim_LoadTopology) load;
    decltype(&OrvanSim_CallCount) calls;
    decltype(&OrvanSim_ResetCalls) reset;
};
