#include "simulator/coreagent/PendingApply.h"

#include "simulator/control/KernelHandle.h"
#include "simulator/coreagent/Names.h"
#include "simulator/topology/Topology.h"

namespace coreagent {

void WaitForPendingApply() {
    constexpr DWORD SLICE = 50; // milliseconds
    static const std::wstring name = APPLY_DONE_NAME + sim::SimulatorSetting(INSTANCE_VARIABLE, INSTANCE_VALUE);
    // In slices, with the event opened anew for each: the waiter's own handle must not keep an event alive that nobody
    // will set any more.
    for (;;) {
        const sim::KernelHandle done(OpenEventW(SYNCHRONIZE, FALSE, name.c_str()));
        if (!done || WaitForSingleObject(done.Get(), SLICE) != WAIT_TIMEOUT)
            return;
    }
}

} // namespace coreagent
