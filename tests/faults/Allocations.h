// The agent's memory under the program's control: what the agent's own C allocations and the C++ run time's take.
//
// Only calls of the thread that watches count; so what the agent does in an operation is told from everything else.
#pragma once

#include <functional>
#include <optional>

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class Allocations {
  public:
    enum class Failing { None, One, OneAndAllAfter };

    // One at a time. another: a module whose allocations count, too; null: none.
    explicit Allocations(HMODULE agent, HMODULE another = nullptr);

    struct Use {
        long long live = 0;          // blocks allocated and not freed
        unsigned long long made = 0; // allocations, failed ones included
        bool failed = false;         // the one that was to fail came
    };
    // Runs work and tells what it used. failing: the allocation with that number, counted from 1, fails.
    Use Watch(const std::function<void()>& work, unsigned long long number = 0, Failing failing = Failing::None);

  private:
    ImportPatch m_agentMalloc, m_agentCalloc, m_agentRealloc, m_agentFree, m_runtimeMalloc, m_runtimeFree;
    std::optional<ImportPatch> m_anotherMalloc, m_anotherFree;
};
