// Replaying gives the same answers, for every topology that the tests have.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/topology/Topology.h"
#include "tests/kit/TempFolder.h"
#include "tests/recording/Playback.h"

namespace {

using Json = nlohmann::ordered_json;

// The elements of a list that may not be there.
Json& ListOf(Json& object, const char* key) {
    static Json none;
    none = Json::array();
    return object.contains(key) ? object[key] : none;
}

// Its text, with the names of its response files whole: it is shown as a text, which lies in no folder.
std::string TextOf(const std::filesystem::path& file) {
    Json topology = Json::parse(ReadFileBytes(file), nullptr, true, true);
    const auto folder = file.parent_path();
    for (Json& adapter : topology["adapters"])
        for (Json& target : ListOf(adapter, "targets")) {
            const auto whole = [&](Json& object) {
                for (const char* key : {"inquiry", "vpd_80", "read_capacity_10", "read_capacity_16"})
                    if (object.contains(key))
                        object[key] = (folder / object[key].get<std::string>()).string();
            };
            whole(target);
            for (Json& lun : ListOf(target, "luns"))
                whole(lun);
        }
    // That an adapter takes its time is no difference, and would be the test's own time.
    for (Json& fault : ListOf(topology, "faults"))
        fault.erase("delay_ms");
    return topology.dump();
}

std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(folder))
        if (file.path().extension() == ".json")
            names.push_back(file.path().string());
    std::ranges::sort(names);
    return names;
}

} // namespace

TEST(RecordingOf, TheTestData) {
    Playback playback;
    for (const std::string& file : FilesIn(FCOE_TEST_DATA "/topologies"))
        playback.ExpectRecordedSame(file, TextOf(file), ReadingCommands());
}

TEST(RecordingOf, TheWorlds) {
    Playback playback;
    for (const std::string& file : FilesIn(FCOE_WORLDS))
        playback.ExpectRecordedSame(file, TextOf(file), ReadingCommands());
}
