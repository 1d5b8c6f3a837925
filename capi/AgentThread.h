// Where calls into the agent run: in the host's thread, or, since threads in a single-threaded COM apartment cannot
// read link states, in one of the library's own.
#pragma once

#include <utility>

#include "capi/Outcome.h"

namespace capi {

// Whether the calling thread is in a single-threaded apartment, or in one that is lent to it.
bool IsSingleThreaded() noexcept;

// Runs the function in a thread of its own and waits for its end. False: there is none to be had.
bool RunInOwnThread(void (*function)(void* argument), void* argument) noexcept;

// As Caught, and in the right thread.
template <class Work> Outcome Perform(bool isRegistered, Work& work) noexcept {
    if (!IsSingleThreaded())
        return Caught(isRegistered, work);
    struct Call {
        bool isRegistered;
        Work& work;
        Outcome outcome;
    } call{isRegistered, work, {}};
    const auto run = [](void* argument) {
        Call& asked = *static_cast<Call*>(argument);
        asked.outcome = Caught(asked.isRegistered, asked.work);
    };
    if (!RunInOwnThread(run, &call))
        return {FCOE_NO_MEMORY, {}};
    return std::move(call.outcome);
}

} // namespace capi
