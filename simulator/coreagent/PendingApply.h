// The configuration change that somebody else is about to apply.
#pragma once

namespace coreagent {

// Returns at once when no change is pending, else when it is applied or who announced it is gone.
void WaitForPendingApply();

} // namespace coreagent
