// Why a command ends without its answer. Thrown by commands, turned into messages or JSON in one place.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tools/fcoectl/Codes.h"

namespace fcoectl {

// Of one error: its sentence and what a script needs.
struct ErrorDetail {
    std::uint32_t code = 0; // the agent's error code, else the exit code
    std::string text;
    std::vector<std::string> arguments;
    std::string source; // the adapter's second identifier; empty when the program itself reports
};

class Failure : public std::runtime_error {
  public:
    // hints: further lines that help, printed below the message.
    Failure(Exit exit, const std::string& text, std::vector<std::string> hints = {},
            std::vector<std::string> arguments = {})
        : std::runtime_error(text),
          m_exit(exit), m_details{{static_cast<std::uint32_t>(exit), text, std::move(arguments), {}}},
          m_hints(std::move(hints)) {}
    // details: at least one.
    Failure(Exit exit, std::vector<ErrorDetail> details, std::vector<std::string> hints)
        : std::runtime_error(details.front().text), m_exit(exit), m_details(std::move(details)),
          m_hints(std::move(hints)) {}

    Exit Code() const { return m_exit; }
    const std::vector<ErrorDetail>& Details() const { return m_details; }
    const std::vector<std::string>& Hints() const { return m_hints; }
    void AddHint(std::string hint) { m_hints.push_back(std::move(hint)); }

  private:
    Exit m_exit;
    std::vector<ErrorDetail> m_details;
    std::vector<std::string> m_hints;
};

} // namespace fcoectl
