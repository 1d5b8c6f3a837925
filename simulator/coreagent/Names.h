// The named objects through which core agents of several processes, and those who test against them, meet; and the
// settings behind them: each an environment variable, or else a text value of HKLM\SOFTWARE\ORVAN\Simulator.
#pragma once

namespace coreagent {

// The configuration lock is held while an object of this name exists.
constexpr wchar_t LOCK_NAME[] = L"Global\\OrvanSimConfigurationLock";

// A change is pending while an event of this name exists and is not signalled. Whoever wants the agents to wait makes a
// manual-reset event, and sets it, or closes it, when the change is applied.
constexpr wchar_t APPLY_DONE_NAME[] = L"Global\\OrvanSimApplyDone";

// A text that is appended to both names, so that several simulated suites can live on one machine. Empty by default.
constexpr wchar_t INSTANCE_VARIABLE[] = L"ORVAN_SIM_INSTANCE";
constexpr wchar_t INSTANCE_VALUE[] = L"Instance";

// How many milliseconds StartLock waits for the lock before it refuses. 10000 by default.
constexpr wchar_t LOCK_WAIT_VARIABLE[] = L"ORVAN_SIM_LOCK_WAIT";
constexpr wchar_t LOCK_WAIT_VALUE[] = L"LockWait";

} // namespace coreagent
