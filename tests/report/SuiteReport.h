// fcoectl on a simulated suite of two adapters, and the files that it writes.
#pragma once

#include <string>
#include <vector>

#include "tests/fcoectl/Host.h"
#include "tests/kit/SuiteHost.h"
#include "tests/kit/TempFolder.h"

class SuiteReport {
  public:
    SuiteReport();

    // The second adapter has a target that cannot be read.
    void Break();
    Answer Run(const std::vector<std::string>& arguments) { return m_host.RunPlain(arguments); }
    // A file that does not exist yet, for the command line.
    std::string File(const std::string& name) const;
    std::string Text(const std::string& name) const;
    std::vector<std::string> Files() const;
    std::string Log() const; // of the agent
    PrivateHive& Hive() { return m_suite.Hive(); }

  private:
    SuiteHost m_suite;
    TempFolder m_folder;
    Host m_host;
};

// Texts of the topology that a mask must not let through.
extern const std::vector<std::string> SECRETS;
