// The registry values by which the suite's modules are found, of the suite that this program belongs to.
#pragma once

#include <string>

#include <windows.h>

namespace simctl {

// The folder above the programs': log and state lie in it.
std::wstring SuiteFolder();

// Of the agents that the suite brings one that is registered and is another file: not ours to replace. Empty: none.
std::wstring ForeignAgent();
bool IsRegistered();

// The error's code.
LSTATUS WriteValues();
// And the keys that nothing is left in.
LSTATUS DeleteValues();

} // namespace simctl
