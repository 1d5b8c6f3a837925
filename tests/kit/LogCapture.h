// What the program's own diagnostic log writes while the object lives. For programs that link the agent's objects.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class LogCapture {
  public:
    // Configures the log on first use (level 3, into the temporary folder) and remembers where it stands.
    LogCapture();

    // The messages written since, without the header of each line; all of them, or without ENTRY and EXIT lines.
    std::vector<std::string> Lines() const;
    std::vector<std::string> Messages() const;
    // The lines as they are written, with their headers.
    std::vector<std::string> WholeLines() const;
    // How often a message was written. Traces count too.
    int Count(const std::string& message) const;
    bool Has(const std::string& message) const { return Count(message) > 0; }
    void Clear();

  private:
    std::size_t m_start = 0;
};
