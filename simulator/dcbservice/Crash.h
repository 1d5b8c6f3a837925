// The end of the service's process as a crash has it.
#pragma once

// Has the work done when the process crashes: what the system does for a process that died and Wine does not. The last
// added is done first. For the thread that starts the service, before there are clients.
void AtCrash(void (*work)());

// Ends the process in the middle of whatever it does. Any thread.
[[noreturn]] void Crash();
