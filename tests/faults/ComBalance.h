// How often the agent's threads joined COM and did not leave it.
#pragma once

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class ComBalance {
  public:
    // agent: the module whose calls count. One at a time.
    explicit ComBalance(HMODULE agent);
    ComBalance(const ComBalance&) = delete;
    ComBalance& operator=(const ComBalance&) = delete;

    // Of all threads together.
    int Joined() const;

  private:
    ImportPatch m_initialize, m_uninitialize;
};
