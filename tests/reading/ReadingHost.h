// fcoectl on a simulated suite whose neighbours are made to fail, in the test's process.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/kit/DcbSystem.h"
#include "tests/kit/SuiteHost.h"

class ReadingHost {
  public:
    using Json = nlohmann::ordered_json;

    struct Reading {
        int exit = -1;
        Json document;
        Json written; // into a file; see Written.h

        // The document and the file, without what is said of them.
        Json Answer() const;
    };

    // The adapter that the faults concern; the healthy other one is {...502}.
    static constexpr char FAULTY[] = "{11111111-2222-4333-8444-555555555501}";

    ReadingHost();
    ~ReadingHost();
    ReadingHost(const ReadingHost&) = delete;
    ReadingHost& operator=(const ReadingHost&) = delete;

    SuiteHost& Suite() { return m_suite; }

    // Two adapters, the first with a virtual port, targets, LUNs and VLANs. faults: entries of the topology's list.
    // online: so that the DCB service is asked.
    static std::string Topology(const std::string& faults, bool online = false);
    // What the neighbours in this process show from now on.
    void Simulate(const std::string& topology);
    // The same of a topology that they refuse.
    void SimulateWrong(const std::string& topology);
    // The DCB service, which is installed and started by the first call.
    DcbSystem& Dcb();
    void SimulateDcb(const std::string& topology);

    // fcoectl with these words, --json, and a file where the command writes one; the agent is loaded and unloaded.
    Reading Run(const std::string& words);
    // What it writes to the error stream without --json.
    std::string Messages(const std::string& words);

  private:
    SuiteHost m_suite;
    HMODULE m_coreAgent, m_setupApi; // the simulated ones, held, so that they keep what they were told to show
    std::optional<DcbSystem> m_dcb;
};

// The commands that read, but for those that write pages of all that these tell: `report` and `diagnose`.
inline constexpr const char* READERS[] = {"hbas",  "fabrics", "ports", "targets", "luns",       "disks",
                                          "vlans", "stats",   "tree",  "dcb",     "vport list", "metrics"};
