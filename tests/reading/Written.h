// What a command has put into a file, without what differs from one time to the next.
#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

// metrics: the samples; report and diagnose: the lists behind the page, and under "examined" the results of the
// doctor's checks of adapters. A test fails on a file that is none of the command's.
nlohmann::ordered_json Written(const std::string& command, const std::filesystem::path& file);
