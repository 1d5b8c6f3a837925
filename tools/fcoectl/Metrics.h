// What was read in the text formats of monitoring systems.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace fcoectl {

enum class MetricsForm {
    Prometheus,  // text format 0.0.4, as the textfile collectors read it
    OpenMetrics, // 1.0
};

// The lists are those of the documents that the commands print with --json.
struct MetricsData {
    nlohmann::ordered_json hbas;
    nlohmann::ordered_json links;
    nlohmann::ordered_json ports;
    nlohmann::ordered_json targets;
    nlohmann::ordered_json luns;
    nlohmann::ordered_json statistics;
    nlohmann::ordered_json problems;                     // {adapter, what}, as in the documents
    std::vector<std::pair<std::string, double>> seconds; // how long each list took
    bool complete = false;
    double completed = 0; // seconds since 1970, UTC
};

// Each family with its help and type, one line a sample without a time, a line feed at the end. What was not read is
// left out rather than told as 0, and so is a counter that the library does not keep, which it reports as a negative
// number.
std::string RenderMetrics(const MetricsData& data, MetricsForm form);

} // namespace fcoectl
