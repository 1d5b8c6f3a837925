// The files in which virtual-port changes are kept: by topology, so that one file serves several.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "simulator/control/KernelHandle.h"
#include "simulator/control/World.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct CreatedPort {
    Wwn portWwn{};
    std::uint32_t fcId = 0;
};

struct AdapterChanges {
    std::vector<CreatedPort> created;
    std::vector<Wwn> removed; // virtual ports of the topology
};

// By adapter identifier.
using State = std::map<std::string, AdapterChanges>;

// The configured file, or one beside the topology, or one in the temporary folder for the built-in topology. Empty for
// a text: its changes are in its world.
std::filesystem::path StateFileOf(const Choice& choice);
// What the changes to the topology go by in there.
std::string StateNameOf(const Choice& choice);

// Held while a process reads or replaces the file. A name per file: simulations with other files do not wait.
class StateFileLock {
  public:
    explicit StateFileLock(const std::filesystem::path& file);
    ~StateFileLock();
    StateFileLock(const StateFileLock&) = delete;
    StateFileLock& operator=(const StateFileLock&) = delete;

  private:
    KernelHandle m_mutex;
};

// All of these throw TopologyError; name stands for the file in errors.

// An empty text when there is no file.
std::string ReadStateFile(const std::filesystem::path& file);
void WriteStateFile(const std::filesystem::path& file, const std::string& text);
// The changes to all topologies that the text has.
nlohmann::json ParseStates(const std::string& text, const std::string& name);
State StateIn(const nlohmann::json& states, const std::string& topology, const std::string& name);
nlohmann::json StateJson(const State& state);

} // namespace sim
