// What the core agent of this process tells of its adapters.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace reading {

// Identifiers are UTF-8.
struct CoreAgentView {
    bool loaded = false;
    bool threw = false;                    // when it was asked for its adapters
    std::uint32_t error = 0;               // that it answered; 0: none
    std::string topologyError;             // of a simulated one: what is wrong with its topology; empty: nothing
    std::vector<std::string> adapters;     // all of them
    std::vector<std::string> withFcoe;     // those that support FCoE, in the same order
    std::vector<std::string> supportThrew; // those of which it could not tell

    bool Answered() const { return loaded && !threw && error == 0; }
};

// Whether there is one in this process.
[[nodiscard]] bool HasCoreAgent();

// What is wrong with the topology that a simulated one shows, or that shall take its place; empty: nothing, or there is
// none. Asks nothing that counts as a call.
[[nodiscard]] std::string WrongTopology();

// Asks the one that the agent has loaded; loads none. Throws std::bad_alloc only.
[[nodiscard]] CoreAgentView AskCoreAgent();

} // namespace reading
