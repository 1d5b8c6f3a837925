// What the modules of this process hold of the C run time's heap: the memory of the agent and its neighbours, told from
// that of the system's own modules, whose loader and services take theirs from the heap below it.
#pragma once

#include "tests/kit/ImportPatch.h"

// One at a time. Counts from its construction on; what was allocated before and is freed since counts as negative.
class RunTimeHeap {
  public:
    RunTimeHeap();

    // Bytes as they were asked for.
    static long long Bytes();

  private:
    ImportPatch m_alloc, m_realloc, m_free;
};
