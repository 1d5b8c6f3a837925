// The file that the calls of all simulated modules of all processes are appended to, a line each.
#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

namespace sim {

// The file that the variable ORVAN_SIM_CALLS or else the registry value Calls names, whole; empty: calls are not
// wanted.
std::wstring ConfiguredCallFile();

class CallFile {
  public:
    // An empty name, or one that cannot be written, makes one that takes nothing.
    explicit CallFile(const std::wstring& name);
    ~CallFile();
    CallFile(const CallFile&) = delete;
    CallFile& operator=(const CallFile&) = delete;

    bool IsOpen() const { return m_file != INVALID_HANDLE_VALUE; }
    // Time, process, thread, module and the world's version come before the text. Any thread.
    void Write(const std::string& text, std::uint64_t version) const;

  private:
    HANDLE m_file = INVALID_HANDLE_VALUE;
};

} // namespace sim
