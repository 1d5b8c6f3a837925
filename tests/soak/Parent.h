// The parent of the soak: starts the children, changes the simulated hardware, stops and starts the DCB service, and
// reports what came of it.
#pragma once

namespace soak {

// Whether everything survived.
bool RunParent(double minutes, unsigned seed);

} // namespace soak
