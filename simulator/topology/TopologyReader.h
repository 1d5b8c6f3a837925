// Reads a topology with all that is wrong or odd in it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/topology/Problem.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct Reading {
    Topology topology;             // whole if there is no problem
    std::vector<Problem> problems; // in the order of the text
};

// folder: where the files are that the text names.
Reading ReadTopology(std::string_view text, const std::filesystem::path& folder = {},
                     const ResponseReader& readResponse = {});

// Gives problems of a document that is JSON their lines and columns, and sorts them by these.
void Locate(std::string_view text, std::vector<Problem>& problems);

// The same as ReadTopology, and what is surely a mistake of a topology that is good.
struct Checked {
    Reading reading;
    std::vector<Problem> warnings; // in the order of the text
};
Checked CheckTopology(std::string_view text, const std::filesystem::path& folder = {});

} // namespace sim
