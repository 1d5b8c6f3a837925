// Puts the DCB service and its COM class into the system, and takes them out again.
#pragma once

#include <string>

#include <windows.h>

// Both return a Win32 error or an HRESULT, 0 for success; every step is tried, and the first error is returned.

// Registers the service to start with the system, the class, and the proxy that lies beside this program. What is there
// already is replaced. arguments: what the program is started with, beside its own.
DWORD Install(const std::wstring& arguments);
// Stops the service first. What is not there counts as removed.
DWORD Uninstall();
