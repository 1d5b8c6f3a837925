// What the agent writes to its log, kept in memory; or a disk that is full.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class AgentLog {
  public:
    enum class Disk {
        None,    // nothing reaches the file
        Healthy, // lines go to the file, too
        Full,    // each write fails
    };

    // agent: the module whose log it is. One at a time; it takes no memory while the agent works.
    explicit AgentLog(HMODULE agent);
    ~AgentLog();
    AgentLog(const AgentLog&) = delete;
    AgentLog& operator=(const AgentLog&) = delete;

    void Set(Disk disk);
    void Clear();
    // The messages since then, without their headers and without ENTRY and EXIT lines.
    std::vector<std::string> Messages() const;
    // Lines that the agent wrote since then, whatever they say.
    unsigned long long Writes() const;

  private:
    ImportPatch m_write;
};
