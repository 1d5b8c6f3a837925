// Ends a test program that crashes or hangs with a recognisable exit code and the stacks it can get.
#pragma once

// Exit codes of a test program beside gtest's own.
constexpr int EXIT_CRASHED = 86;
constexpr int EXIT_HUNG = 87;

// Reports access violations, abort and uncaught exceptions from now on.
void InstallCrashReport();
// Ends the process with all threads' stacks after that many seconds; 0 stops the watch.
void StartWatchdog(unsigned seconds);
