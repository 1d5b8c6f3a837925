// Reads a topology with all that is wrong or odd in it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Problem.h"
#include "simulator/topology/Steps.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct Reading {
    Topology topology;             // whole if there is no problem
    std::vector<Problem> problems; // in the order of the text
    std::size_t largest = 0;       // bytes of the largest topology that a step of its timeline makes
};

// folder: where the files are that the text names. seen: of each step of its timeline, if all of the text is good.
Reading ReadTopology(std::string_view text, const std::filesystem::path& folder = {},
                     const ResponseReader& readResponse = {}, const StepSeen& seen = {});

// What ReadTopology says of a text that is no JSON, and of what the parser has said of keys that are given twice.
Problem SyntaxProblem(const JsonSyntaxError& error);
std::vector<Problem> RepeatedKeys(std::string_view text, const std::vector<std::string>& said);

// Gives problems of a document that is JSON their lines and columns, and sorts them by these.
void Locate(std::string_view text, std::vector<Problem>& problems);

// The same as ReadTopology, and what is surely a mistake of a topology that is good.
struct Checked {
    Reading reading;
    std::vector<Problem> warnings; // in the order of the text
};
Checked CheckTopology(std::string_view text, const std::filesystem::path& folder = {});

} // namespace sim
