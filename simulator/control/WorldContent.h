// What a version of a world consists of: all that a module needs to make the same scene of it as any other.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "simulator/topology/Timeline.h"
#include "simulator/topology/Topology.h"

namespace sim {

struct WorldContent {
    std::string name;   // what errors call the topology
    std::string folder; // where the files are that the text names
    std::string text;
    std::string error;                                          // what is wrong with it; empty: it is good
    std::map<std::string, std::vector<std::uint8_t>> responses; // the recorded responses that it names, by their file
    Motion motion;                                              // how far the topology in the text has moved

    // The topology as it stands.
    const std::string& Document() const { return motion.IsMoving() ? motion.document : text; }
    // Whether both were read from the same, however far either has moved.
    bool HasSourceOf(const WorldContent& moved) const;
    bool operator==(const WorldContent&) const = default;
};

// More is refused as a wrong topology.
constexpr std::size_t MAX_WORLD_BYTES = std::size_t{32} << 20;

// These read the topology to its end; what is wrong with it is the content's error.
WorldContent ContentOfFile(const std::filesystem::path& file, const std::string& name);
WorldContent ContentOfText(const std::string& text, const std::string& name, const std::filesystem::path& folder = {});

// The topology of a content that is good.
Topology TopologyOf(const WorldContent& content);

// As one piece of bytes, and back.
std::string Packed(const WorldContent& content);
WorldContent Unpacked(const std::string& bytes);

} // namespace sim
