// --mask: no identifier of the machine is in the file, in texts or in bytes, and the file replays all the same.
#include <algorithm>
#include <cctype>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/recording/Playback.h"

namespace {

using Json = ReadingHost::Json;

// Names and serial numbers, and a library that lies in its texts: the records stand as bytes in a recording.
constexpr char TOPOLOGY[] = R"({"adapters": [
  {"identifier": "{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1}", "display_name": "Kundenhost 7", "mac": "02:05:7C:3A:10:01",
   "library_name": "com.kunde-FCoE-1",
   "attributes": {"model": "CX-20", "serial_number": "SNR-4711-0815", "node_symbolic_name": "kundenhost7 CX-20"},
   "port": {"node_wwn": "10:00:02:05:7C:3A:10:01", "port_wwn": "20:00:02:05:7C:3A:10:01", "fc_id": "0x010A00",
            "symbolic_name": "Keller links", "fabric_name": "10:00:02:4E:90:00:01:00"},
   "ports": [{"type": 0, "number": 100, "identifiers": ["10:00:02:4E:90:00:01:00", "20:64:02:4E:90:00:01:00",
                                                        "20:0B:02:4E:90:00:01:00"]}],
   "targets": [
     {"port_wwn": "50:06:02:6B:A0:11:20:01", "node_wwn": "50:06:02:6B:A0:11:20:00", "fc_id": "0x010B01",
      "vpd_80": "hex:0080000C 564134303031313230303031",
      "inquiry": "hex:00000612 5B000002 4F5256414E202020 5641554C542034303020202020202020 372E3132 564134303031313230303031",
      "luns": [{"os_lun": 0, "os_device_name": "\\\\.\\PHYSICALDRIVE2", "blocks": 4096}, {"os_lun": 1, "blocks": 8}]}],
   "vlans": [{"id": 100}]}], "faults": [)";

// What must not be in the file, as it is read in a text.
constexpr const char* IDENTIFIERS[] = {"5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1",
                                       "Kundenhost 7",
                                       "com.kunde-FCoE-1",
                                       "SNR-4711-0815",
                                       "kundenhost7 CX-20",
                                       "Keller links",
                                       "VA4001120001"};
constexpr const char* ADDRESSES[] = {"02:05:7C:3A:10:01",       "10:00:02:05:7C:3A:10:01", "20:00:02:05:7C:3A:10:01",
                                     "10:00:02:4E:90:00:01:00", "20:64:02:4E:90:00:01:00", "20:0B:02:4E:90:00:01:00",
                                     "50:06:02:6B:A0:11:20:01", "50:06:02:6B:A0:11:20:00"};

std::string Upper(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// As bytes stand in the file.
std::string Digits(std::string_view bytes) {
    std::string digits;
    for (const char byte : bytes)
        digits += fmt::format("{:02X}", static_cast<unsigned char>(byte));
    return digits;
}

void ExpectNothingOfIt(const std::string& recorded) {
    const std::string text = Upper(recorded);
    for (const std::string identifier : IDENTIFIERS) {
        EXPECT_EQ(std::string::npos, text.find(Upper(identifier))) << identifier << recorded;
        EXPECT_EQ(std::string::npos, text.find(Digits(identifier))) << identifier;
    }
    for (const std::string address : ADDRESSES) {
        std::string digits = address;
        std::erase(digits, ':');
        EXPECT_EQ(std::string::npos, text.find(address)) << address << recorded;
        EXPECT_EQ(std::string::npos, text.find(digits)) << address;
        EXPECT_EQ(std::string::npos, text.find(Digits(address))) << address;
    }
}

} // namespace

TEST(RecordedMask, NothingOfTheMachineIsInTheFile) {
    Playback playback;
    // As it is; and with its records, lists and names as bytes.
    for (const char* faults : {"", R"({"function": "ORVAN_GetFCoEControllerInfo", "unterminated": true})",
                               R"({"function": "GetAdapterAttributes", "unterminated": true},
                                      {"function": "GetAdapterPortAttributes", "unterminated": true},
                                      {"function": "ORVAN_GetFCAndNICProperties", "unterminated": true},
                                      {"function": "GetFcpTargetMapping", "unterminated": true},
                                      {"function": "ORVAN_GetFCPortList", "status": 7, "count": 9, "on_call": 2},
                                      {"function": "ORVAN_GetTargetList", "count": 1, "on_call": 2},
                                      {"function": "ScsiInquiry", "status": 1, "on_call": 1})"}) {
        const std::string topology = std::string(TOPOLOGY) + faults + "]}";
        const std::string plain = playback.Record(topology);
        EXPECT_NE(std::string::npos, plain.find("com.kunde-FCoE-1"));
        ExpectNothingOfIt(playback.Record(topology, "--mask"));
    }
}

TEST(RecordedMask, SaysWhatIsSaidWithMask) {
    Playback playback;
    const std::string topology = std::string(TOPOLOGY) + "]}";
    const std::string masked = playback.Record(topology, "--mask");
    for (const std::string words : {"hbas", "fabrics", "ports", "targets", "luns", "disks", "vlans", "tree"}) {
        const Json expected = playback.Say(topology, words + " --mask");
        const Json said = playback.Say(masked, words);
        EXPECT_EQ(expected["document"], said["document"]) << words;
        EXPECT_EQ(0, said["exit"]) << words;
    }
}

TEST(RecordedMask, OneValueHasOneStandIn) {
    Playback playback;
    const std::string topology = std::string(TOPOLOGY) + R"({"function": "ScsiInquiry", "status": 1, "on_call": 1}]})";
    const Json recorded = Json::parse(playback.Record(topology, "--mask"), nullptr, true, true);
    EXPECT_EQ(recorded, Json::parse(playback.Record(topology, "--mask"), nullptr, true, true));
    const Json& adapter = recorded["adapters"][0];
    EXPECT_EQ(adapter["port"]["port_wwn"], adapter["properties"]["port_wwn"]);
    EXPECT_EQ(adapter["port"]["port_wwn"], adapter["targets"][0]["initiator_wwn"]);
    EXPECT_EQ(adapter["mac"], adapter["properties"]["mac"]);
    EXPECT_EQ("\\DEVICE\\" + adapter["identifier"].get<std::string>(), adapter["properties"]["network_instance"]);
    ASSERT_TRUE(recorded.contains("answers"));
    EXPECT_EQ(adapter["identifier"], recorded["answers"][0]["adapter"]);
    EXPECT_EQ(adapter["targets"][0]["port_wwn"], recorded["answers"][0]["target"]);
    // The serial number of the page stands in the INQUIRY data, too, which stay otherwise.
    const std::string page = adapter["targets"][0]["vpd_80"];
    const std::string inquiry = adapter["targets"][0]["inquiry"];
    EXPECT_EQ("hex:000006125B0000024F5256414E2020205641554C542034303020202020202020372E3132" + page.substr(12) +
                  std::string(96, '0'),
              inquiry);
}
