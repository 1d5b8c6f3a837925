// How a call of the interface ended, and how that is told to the host.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "FcoeAgent/fcoe_agent.h"

namespace capi {

struct Outcome {
    fcoe_status status = FCOE_OK;
    std::string text; // sentences, UTF-8; empty with FCOE_OK, and when there is no memory for any
};

// Ends a call without a result.
class Ended : public std::runtime_error {
  public:
    Ended(fcoe_status status, const std::string& text) : std::runtime_error(text), m_status(status) {}
    fcoe_status Status() const { return m_status; }

  private:
    fcoe_status m_status;
};

// What the exception that is being handled comes to. isRegistered: whether the agent's file is the registered one.
Outcome OutcomeOfException(bool isRegistered) noexcept;

// Runs the call; none of its exceptions gets out.
template <class Work> Outcome Caught(bool isRegistered, Work& work) noexcept {
    try {
        return work();
    } catch (...) {
        return OutcomeOfException(isRegistered);
    }
}

// The outcome's text for the host. False: there is no memory for it, and the message says that instead.
bool Tell(const Outcome& outcome, fcoe_char** message) noexcept;
// A block for the host with these bytes, of malloc; null: there is no memory.
void* CopyForHost(const void* bytes, std::size_t size) noexcept;
void FreeForHost(void* block) noexcept;

const fcoe_char* StatusText(fcoe_status status) noexcept;

} // namespace capi
