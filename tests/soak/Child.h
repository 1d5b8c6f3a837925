// One child of the soak: loads the agent as a host does, has the crew work with it for a while, unloads it, sees what
// it left behind, and so on until it is told to stop.
#pragma once

#include <string>

namespace soak {

// memory: the name of the shared state; folder: where the topologies lie. Returns the process's exit code.
int RunChild(const std::wstring& memory, const std::wstring& folder, unsigned child, unsigned seed);

} // namespace soak
