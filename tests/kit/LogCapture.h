// What the program's own diagnostic log writes while the object lives. For programs that link the agent's objects.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/kit/LogText.h"

class LogCapture {
  public:
    // Configures the log on first use (level 3, into the temporary folder) and remembers where it stands.
    LogCapture();

    // The messages written since, without the header of each line; all of them, or those that count without ENTRY and
    // EXIT lines.
    std::vector<std::string> Lines() const;
    std::vector<std::string> Messages(const LogText::Filter& filter = nullptr) const;
    // The lines as they are written, with their headers.
    std::vector<std::string> WholeLines() const;
    // How often a message was written. Traces count too.
    int Count(const std::string& message) const;
    bool Has(const std::string& message) const { return Count(message) > 0; }
    // As in LogText.h.
    testing::AssertionResult Traced(const std::string& operation, const std::string& result = "") const {
        return LogText::Traced(Lines(), operation, result);
    }
    std::vector<std::string> TracesOf(const std::string& operation) const {
        return LogText::TracesOf(Lines(), operation);
    }
    void Clear();

  private:
    std::string Log() const;

    std::size_t m_start = 0;
};
