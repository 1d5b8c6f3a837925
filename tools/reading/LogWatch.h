// What the agent of this process adds to its log while one request runs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <windows.h>

#include "tools/log/LogFile.h"
#include "tools/log/LogLine.h"

namespace reading {

// For one thread: the lines of others are left out.
class LogWatch {
  public:
    // Before the request: notes where the log stands. The agent is loaded; its file is looked for the first time only.
    void Begin();
    // After the request, in the same thread. False: there is no log to read.
    bool Read(const std::function<void(const agentlog::LogLine& line)>& take);
    // Why a log cannot tell of failures, as a sentence; empty when it can. read: what Read came to; told: the lines
    // tell of the request.
    [[nodiscard]] static std::string Blindness(bool told);

  private:
    agentlog::LogFile m_file;
    std::uint64_t m_start = 0;
    DWORD m_thread = 0;
};

} // namespace reading
