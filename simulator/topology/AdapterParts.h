// The objects of an adapter that are its own: what the library and the core agent tell of it.
#pragma once

#include "simulator/topology/Format.h"

namespace sim {

// The texts of the SNIA records have fixed arrays; one that fills its array has no terminator.
constexpr std::size_t SHORT_TEXT = 64;
constexpr std::size_t LONG_TEXT = 256;
constexpr std::size_t NAME_TEXT = 259; // the vendor's name buffers hold 260 with the terminator

// The key of a counter, by its place in HBA_PORTSTATISTICS.
const char* CounterKey(std::size_t counter);

void DescribeAttributes(Keys& keys, AdapterAttributes& attributes);
// Returns whether it says how many remote ports there are.
bool DescribePort(Keys& keys, PortAttributes& port);
void DescribeCounters(Keys& keys, std::array<std::int64_t, COUNTER_COUNT>& counters, std::int64_t min);
void DescribeProperties(Keys& keys, FcNicProperties& properties);
void DescribePci(Keys& keys, PciLocation& pci);
void DescribeDcb(Keys& keys, Dcb& dcb);

} // namespace sim
