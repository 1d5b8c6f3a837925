// The tick counter under a test's control: redirects the import of GetTickCount.
#pragma once

#include "tests/kit/ImportPatch.h"

class MovedClock {
  public:
    // module: whose import is redirected; null for the test program itself.
    explicit MovedClock(DWORD ticks = 100000, HMODULE module = nullptr);
    void Set(DWORD ticks);
    void Advance(DWORD milliseconds);

  private:
    ImportPatch m_patch;
};
