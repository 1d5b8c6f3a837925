// A topology file, read and checked.
#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "simulator/topology/TopologyReader.h"

namespace simctl {

struct CheckedFile {
    std::string name; // as it was given
    std::string text; // of the file
    sim::Checked checked;

    bool IsGood() const { return checked.reading.problems.empty(); }
    const sim::Topology& Topology() const { return checked.reading.topology; }
    // "2 adapters, 5 logical units, 0 faults"
    std::string Content() const;
    // One line each, "FILE:LINE:COLUMN: /place: what is wrong".
    std::string ErrorLines() const;
    std::string WarningLines() const;
    nlohmann::ordered_json Document() const;
};

// A file that cannot be read has that as its problem.
CheckedFile CheckFile(const std::filesystem::path& file);
CheckedFile CheckText(const std::string& name, const std::string& text, const std::filesystem::path& folder);
CheckedFile CheckBuiltIn();

} // namespace simctl
