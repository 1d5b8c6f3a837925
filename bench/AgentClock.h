// The tick counter that the agent sees: it stands still until the benchmark moves it. What is cached so ages when the
// benchmark wants it to, without the sleep that would leave the first run behind it a cold processor.
#pragma once

#include <memory>

#include <windows.h>

class AgentClock {
  public:
    // Redirects the module's import of GetTickCount.
    explicit AgentClock(HMODULE module);
    ~AgentClock();
    AgentClock(const AgentClock&) = delete;
    AgentClock& operator=(const AgentClock&) = delete;

    void Advance(DWORD milliseconds);

  private:
    void** m_slot;
    void* m_original;
};
