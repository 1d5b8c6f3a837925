// Memory that runs out for one thread: what the program and the C++ run time allocate on it.
#pragma once

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class FailingMemory {
  public:
    // From now on every allocation of this thread fails. One object at a time.
    FailingMemory();
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    // How many allocations were refused.
    int Refused() const;

    // Gives the thread its memory back for a scope: for the doubles of neighbours, whose memory is not what is tested.
    class Pause {
      public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

      private:
        DWORD m_thread;
    };

  private:
    ImportPatch m_malloc, m_calloc, m_runtimeMalloc;
};
