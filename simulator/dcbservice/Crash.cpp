#include "simulator/dcbservice/Crash.h"

#include <cstdlib>
#include <vector>

#include <windows.h>

namespace {

constexpr UINT EXIT_CRASHED = 3;

std::vector<void (*)()> g_works;

} // namespace

void AtCrash(void (*work)()) {
    g_works.push_back(work);
}

void Crash() {
    for (auto work = g_works.rbegin(); work != g_works.rend(); ++work)
        (*work)();
    TerminateProcess(GetCurrentProcess(), EXIT_CRASHED);
    std::abort();
}
