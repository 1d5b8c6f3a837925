// The simulated DCB service as the cells want it.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

#include "tests/kit/DcbSystem.h"

// COM is initialized on the thread as long as it lives.
class DcbNeighbour {
  public:
    DcbNeighbour();
    ~DcbNeighbour();
    DcbNeighbour(const DcbNeighbour&) = delete;
    DcbNeighbour& operator=(const DcbNeighbour&) = delete;

    // What it shows, with that entry in the list of faults.
    void Simulate(const std::string& fault);
    // Absent (0), stopped or running.
    void Bring(DWORD state);
    // After a kill: until the service manager has seen it, and the service is not taken for running.
    void Settle();

  private:
    std::optional<DcbSystem> m_system;
};
