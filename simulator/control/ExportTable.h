// Hides exports of a module from GetProcAddress.
#pragma once

#include <set>
#include <string>

#include <windows.h>

namespace sim {

// Hides the named exports of the module and shows again those that an earlier call hid.
void HideExports(HMODULE module, const std::set<std::string>& names);
// Hides what the faults of the scene in use call missing, now and after every load; for a module's DllMain.
void HideMissingExports(HMODULE module);

} // namespace sim
