#include "tests/reading/ReadingHost.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include <gtest/gtest.h>
#include <objbase.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/reading/CapturedOutput.h"
#include "tests/reading/Written.h"
#include "tools/fcoectl/Run.h"
#include "tools/fcoectl/Text.h"

namespace {

constexpr char TOPOLOGY[] = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one", "mac": "02:05:7C:00:00:01",
   "attributes": {"model": "CX-20"}, "pci": {"bus": 3, "device": 1, "function": 2},
   "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "fc_id": "0x010A00",
            "state": 3, "symbolic_name": "one", "fabric_name": "10:00:02:4E:90:00:01:00"},
   "statistics": {"tx_frames": 1000, "rx_frames": 2000},
   "ports": [{"type": 0, "number": 100}, {"type": 3, "port_wwn": "20:01:02:05:7C:00:00:01", "word_a": "0x010A01"}],
   "targets": [
     {"port_wwn": "50:06:02:6B:00:00:00:01", "fc_id": "0x010B01", "npiv": true, "serial": "S1",
      "luns": [{"os_lun": 0, "os_device_name": "\\\\.\\PHYSICALDRIVE2", "blocks": 4096}, {"os_lun": 1, "blocks": 8}]},
     {"port_wwn": "50:06:02:6B:00:00:00:02", "fc_id": "0x010B02", "serial": "S2",
      "luns": [{"os_lun": 0, "blocks": 4096}, {"os_lun": 1, "blocks": 8}]}],
   "vlans": [{"id": 100}, {"id": 200, "state": 2}]},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "display_name": "Adapter two", "mac": "02:05:7C:00:00:02",
   "pci": {"bus": 3, "device": 1, "function": 3}, "attributes": {"model": "CX-20"},
   "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02", "state": 3},
   "statistics": {"tx_frames": 1},
   "targets": [{"port_wwn": "50:06:02:6B:00:00:00:03", "serial": "S3", "luns": [{}]}], "vlans": [{"id": 300}]}],
  "faults": [)";

std::vector<std::string> Split(const std::string& words) {
    std::istringstream stream(words);
    std::vector<std::string> all;
    for (std::string word; stream >> word;)
        all.push_back(word);
    return all;
}

} // namespace

ReadingHost::Json ReadingHost::Reading::Answer() const {
    Json answer = document;
    for (const char* said : {"complete", "problems", "notes", "error", "more_errors"})
        answer.erase(said);
    answer["written"] = written;
    if (written.is_object())
        answer["written"].erase("examined");
    return answer;
}

ReadingHost::ReadingHost() {
    m_suite.Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"Instance", std::to_wstring(GetCurrentProcessId()));
    m_suite.Simulate(Topology(""));
    m_coreAgent = LoadLibraryW((ProgramFolder() / L"CoreAgnt.dll").c_str());
    m_setupApi = LoadLibraryW(L"setupapi.dll");
}

ReadingHost::~ReadingHost() {
    // The program itself keeps setupapi.dll, and a text stays as long as any module has it.
    NEED_FUNCTION(m_setupApi, OrvanSim_ReloadTopology)();
    FreeLibrary(m_setupApi);
    FreeLibrary(m_coreAgent);
}

std::string ReadingHost::Topology(const std::string& faults, bool online) {
    std::string text = TOPOLOGY + faults + "]}";
    constexpr std::string_view STATE = R"("state": 3)"; // of the adapters' ports
    for (std::size_t at = 0; online && (at = text.find(STATE, at)) != text.npos; at += STATE.size())
        text.replace(at, STATE.size(), R"("state": 2)");
    return text;
}

void ReadingHost::Simulate(const std::string& topology) {
    for (const HMODULE module : {m_suite.Library(), m_coreAgent, m_setupApi}) {
        const char* error = NEED_FUNCTION(module, OrvanSim_LoadTopology)(topology.c_str());
        ASSERT_EQ(nullptr, error) << error;
    }
}

void ReadingHost::SimulateWrong(const std::string& topology) {
    for (const HMODULE module : {m_suite.Library(), m_coreAgent, m_setupApi})
        ASSERT_NE(nullptr, NEED_FUNCTION(module, OrvanSim_LoadTopology)(topology.c_str()));
}

DcbSystem& ReadingHost::Dcb() {
    if (!m_dcb) {
        m_dcb.emplace();
        SimulateDcb(Topology("", true));
        m_dcb->Start();
    }
    return *m_dcb;
}

void ReadingHost::SimulateDcb(const std::string& topology) {
    std::ofstream(Dcb().TopologyFile()) << topology;
}

ReadingHost::Reading ReadingHost::Run(const std::string& words) {
    for (const HMODULE module : {m_suite.Library(), m_coreAgent})
        NEED_FUNCTION(module, OrvanSim_ArmFaults)(TRUE); // their calls are counted anew
    std::vector<std::string> arguments = Split(words + " --json");
    const std::string command = arguments.front();
    const bool writes = command == "metrics" || command == "report" || command == "diagnose";
    const auto file = m_suite.Folder() / "written";
    std::filesystem::remove(file);
    if (command == "metrics")
        arguments.emplace_back("--output");
    if (writes)
        arguments.push_back(fcoectl::ToUtf8(file.wstring()));
    CapturedOutput captured;
    Reading reading;
    reading.exit = fcoectl::Run(arguments, captured);
    reading.document = Json::parse(captured.out, nullptr, false);
    EXPECT_FALSE(reading.document.is_discarded()) << captured.out;
    if (std::filesystem::exists(file))
        reading.written = Written(command, file);
    return reading;
}

std::string ReadingHost::Messages(const std::string& words) {
    CapturedOutput captured;
    static_cast<void>(fcoectl::Run(Split(words), captured));
    return captured.err;
}
