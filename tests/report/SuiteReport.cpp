#include "tests/report/SuiteReport.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "tools/fcoectl/Text.h"

namespace {

// Ports that are offline have no DCB.
std::string Topology(const std::string& faults) {
    return R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Vault & Sons 1", "mac": "02:05:7C:00:00:01",
   "library_name": "vault-0", "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01",
   "state": 3}, "vlans": [{"id": 100}],
   "targets": [{"port_wwn": "50:06:02:6B:00:00:00:01", "serial": "QX7731", "luns": [{"os_lun": 0}, {"os_lun": 1}]}]},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "display_name": "Vault & Sons 2", "mac": "02:05:7C:00:00:02",
   "library_name": "vault-1", "port": {"node_wwn": "10:00:02:05:7C:00:00:02", "port_wwn": "20:00:02:05:7C:00:00:02",
   "state": 3}, "targets": [{"port_wwn": "50:06:02:6B:00:00:00:02", "serial": "QX7732", "luns": [{"os_lun": 0}]}]}],
 "faults": [)" +
           faults + "]}";
}

} // namespace

const std::vector<std::string> SECRETS = {"Vault",
                                          "QX7731",
                                          "QX7732",
                                          "vault-0",
                                          "11111111-2222-4333-8444-555555555501",
                                          "20:00:02:05:7C:00:00:01",
                                          "50:06:02:6B:00:00:00:02"};

SuiteReport::SuiteReport() {
    m_suite.Simulate(Topology(""));
}

void SuiteReport::Break() {
    m_suite.Simulate(Topology(
        R"({"function": "ORVAN_GetTargetList", "adapter": "{11111111-2222-4333-8444-555555555502}", "status": 3})"));
}

std::string SuiteReport::File(const std::string& name) const {
    return fcoectl::ToUtf8((m_folder.Path() / name).wstring());
}

std::string SuiteReport::Text(const std::string& name) const {
    return ReadFileBytes(m_folder.Path() / name);
}

std::string SuiteReport::Log() const {
    return ReadFileBytes(m_suite.LogFile());
}

std::vector<std::string> SuiteReport::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}
