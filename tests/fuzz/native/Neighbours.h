// Who answers in a native build where Windows would lead to another module: the program's fuzzed neighbours.
#pragma once

#include <vector>

#include <windows.h>

namespace native {

// --- Asked of the neighbours; an adapter's fuzz program has one set (DrawnLibrary.cpp).

// A function of the vendor library; null when it has none of the name.
FARPROC LibraryFunction(const char* pszName);
// Whether the cross-process mutex is had in time.
bool MutexIsFree();
// Devices of the network class, their registry values and numbers.
bool DeviceExists(DWORD dwIndex);
bool DeviceHasKey();
bool ReadDeviceText(std::vector<wchar_t>& vecText);
bool ReadDeviceNumber(DWORD& dwNumber);

// --- Asked by the program

// The code page of the system: 1252 or 65001 (UTF-8).
void SetCodePage(UINT uCodePage);
// The tick counter; moved by the program alone.
void SetTickCount(DWORD dwTicks);
// Handles, keys, modules and device sets that are open, and critical sections that are entered.
int OpenHandles();
// A handle of the vendor library, as loading it gives it.
HMODULE LoadVendorLibrary();

} // namespace native
