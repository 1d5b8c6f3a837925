// What a page of everything that was read is made of.
#pragma once

#include <cstddef>
#include <string>

#include <nlohmann/json.hpp>

namespace fcoectl {

// The documents are those that the commands print with --json; null leaves their part out.
struct ReportData {
    std::string computer;
    std::string user;
    std::string time; // local, as it is to be read
    bool masked = false;
    std::string refusal; // why the agent could not be asked; empty: it was
    nlohmann::ordered_json tree;
    nlohmann::ordered_json links; // of `dcb`
    nlohmann::ordered_json vlans;
    nlohmann::ordered_json statistics;
    nlohmann::ordered_json doctor;
    nlohmann::ordered_json requests; // of `log requests`, the slowest ones, those first
    std::size_t lastRequests = 0;    // the slowest are of so many at the end of the log; 0: of all
    nlohmann::ordered_json version;
};

} // namespace fcoectl
