// Replaying gives the same answers, for every topology that the tests have.
#include <filesystem>
#include <fstream>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/topology/Topology.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
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

std::vector<std::string> FilesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(folder))
        if (file.path().extension() == ".json")
            names.push_back(file.path().string());
    std::ranges::sort(names);
    return names;
}

} // namespace

TEST(RecordingOf, WhatAReportTells) {
    Playback playback;
    for (const char* world : {"dual-fabric.json", "broken-targets.json", "dcb-misconfigured.json"}) {
        const std::string file = (SourceFolder() / "share/topologies" / world).string();
        playback.ExpectRecordedSame(file, TextOf(file), {"report"});
    }
}

TEST(RecordingOf, TheTestData) {
    Playback playback;
    for (const std::string& file : FilesIn(TestData() / "topologies"))
        playback.ExpectRecordedSame(file, TextOf(file), ReadingCommands());
}

TEST(RecordingOf, TheWorlds) {
    Playback playback;
    for (const std::string& file : FilesIn(SourceFolder() / "share/topologies"))
        playback.ExpectRecordedSame(file, TextOf(file), ReadingCommands());
}

TEST(RecordingOf, TheBuiltInTopologyButForItsRunningCounters) {
    Json topology = Json::parse(sim::DefaultTopologyText(), nullptr, true, true);
    for (Json& adapter : topology["adapters"])
        adapter.erase("statistics_per_second");
    Playback playback;
    playback.ExpectRecordedSame("the built-in topology", topology.dump(), ReadingCommands());
}

// 64 targets with 256 LUNs each, more than one thing may be listed of at once.
TEST(RecordingOf, AManyFoldOfAll) {
    Json targets = Json::array();
    for (int target = 0; target < 64; ++target) {
        Json luns = Json::array();
        for (int lun = 0; lun < 256; ++lun)
            luns.push_back({{"os_lun", lun}, {"fcp_lun", lun}, {"blocks", 2097153 * (lun + 1)}});
        targets.push_back({{"port_wwn", fmt::format("50:06:01:60:00:00:00:{:02X}", target)},
                           {"fc_id", 0x010500 + target},
                           {"serial", fmt::format("SN{:04}", target)},
                           {"luns", std::move(luns)}});
    }
    const Json topology = {
        {"adapters",
         {{{"identifier", "{11111111-2222-4333-8444-555555555501}"},
           {"mac", "00:1B:21:00:00:01"},
           {"port", {{"node_wwn", "20:00:00:1B:21:00:00:01"}, {"port_wwn", "20:01:00:1B:21:00:00:01"}}},
           {"targets", std::move(targets)}}}}};
    Playback playback;
    playback.ExpectRecordedSame("64 targets with 256 LUNs", topology.dump(), {"luns"});
}

// Each key with a value that is not its default, and texts that are no plain ASCII or fill their arrays.
TEST(RecordingOf, EachKey) {
    constexpr char BEGIN[] = R"({"adapters": [
      {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "B\u00fcro", "mac": "02:05:7C:00:00:01",
       "interface_index": 99, "library_name": "com.\u00fcber-0", "controller": 77,
       "attributes": {"manufacturer": "M\u00fcller", "model": "\u00dc-20", "vendor_specific_id": 5, "number_of_ports": 2,
                      "driver_name": ")";
    constexpr char END[] = R"("},
       "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": 77, "type": 6,
                "classes_of_service": 12, "supported_speed": 36, "speed": 32, "max_frame_size": 2048,
                "symbolic_name": "S\u00fcd", "fabric_name": "10:00:02:4E:90:00:01:00", "discovered_ports": 9},
       "statistics": {"lip_count": -1, "tx_words": 9000000000000},
       "properties": {"node_wwn": "10:00:02:05:7C:00:00:11", "port_wwn": "20:00:02:05:7C:00:00:11",
                      "mac": "02:05:7C:00:00:11", "remote_booted": true, "remote_page_file": true},
       "pci": {"bus": 255, "device": 31, "function": 7},
       "ports": [{"type": 3, "port_wwn": "20:01:02:05:7C:00:00:01", "word_a": 5, "word_b": 6, "number": 7},
                 {"type": 0, "word_a": 1, "word_b": 2, "word_56": 3, "number": 4, "byte_62": 5,
                  "identifiers": ["10:00:02:4E:90:00:01:01", "10:00:02:4E:90:00:01:02", "10:00:02:4E:90:00:01:03"]},
                 {"type": 1, "port_wwn": "20:02:02:05:7C:00:00:01"}],
       "targets": [
         {"bus": 1, "target": 2, "node_wwn": "50:06:02:6B:00:00:00:00", "port_wwn": "50:06:02:6B:00:00:00:01", "fc_id": 3,
          "number": 4, "serial": "\u00c4-1", "npiv": true,
          "luns": [{"os_lun": 3, "fcp_lun": 768, "os_device_name": "Platte \u00fc", "blocks": 9, "block_length": 4096},
                   {"os_lun": 0, "blocks": 7, "read_capacity": 10}]},
         {"port_wwn": "50:06:02:6B:00:00:00:02", "initiator_wwn": "20:02:02:05:7C:00:00:01", "initiator_type": 1,
          "inquiry": "hex:00", "luns": [{"read_capacity_16": "hex:FFFFFFFFFFFFFFFF 00000200"}]}],
       "vlans": [{"id": 0, "state": 0}, {"id": 65535, "state": 65535}],
       "dcb": {"enabled": -5, "config_hresult": 1, "app_hresult": 3, "priority_bitmap": 255, "pfc_hresult": 2,
               "pfc": [9, -1, 0, 1, 2, 3, 4, 5]}},
      {"identifier": "{11111111-2222-4333-8444-555555555502}", "supports_fcoe": false, "mac": "02:05:7C:00:00:02",
       "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02"}}]})";
    Playback playback;
    playback.ExpectRecordedSame("each key", BEGIN + std::string(256, 'x') + END, ReadingCommands());
}
