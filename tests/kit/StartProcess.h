// Starts programs, for tests.
#pragma once

#include <string>

#include <windows.h>

// As CreateProcessW with that command line; false leaves the reason in GetLastError. Wine 8 loses a process now and
// then before its first instruction, which CreateProcessW reports as ERROR_INTERNAL_ERROR: such a start is tried again.
bool StartProcess(std::wstring command, bool inheritHandles, STARTUPINFOW& startup, PROCESS_INFORMATION& process);
