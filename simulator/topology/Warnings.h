// What a good topology says that is surely meant otherwise.
#pragma once

#include <vector>

#include "simulator/topology/Problem.h"
#include "simulator/topology/Topology.h"

namespace sim {

class Warnings {
  public:
    explicit Warnings(std::vector<Problem>& problems) : m_problems(problems) {}

    // code: for programs. text: what is odd; advice: what to write.
    void Add(const char* code, const std::string& pointer, const std::string& text, const std::string& advice);

  private:
    std::vector<Problem>& m_problems;
};

// All of them, without lines and columns.
std::vector<Problem> FindWarnings(const Topology& topology);

// Each of these finds those of one kind.
void WarnOfAdapters(const Topology& topology, Warnings& warnings);
void WarnOfTargets(const Topology& topology, Warnings& warnings);
void WarnOfFaults(const Topology& topology, Warnings& warnings);
void WarnOfTimeline(const Topology& topology, Warnings& warnings);

// "/adapters/3"
std::string AdapterPointer(const Adapter& adapter);

} // namespace sim
