// Single figures beside the table. Each prints its lines.
#pragma once

#include "bench/Machine.h"
#include "bench/Neighbours.h"

// What the neighbours' rules cost every client: both sides of the table pay it.
void MeasureRequired(const Neighbours& neighbours);
// From loading the agent to having it, against loading an empty module.
void MeasureStart(Machine& machine);
// An enumeration that the caches answer, against copying the records.
void MeasureCached(const Neighbours& neighbours, Machine& machine, unsigned targets, unsigned luns);
// What the agent keeps after an enumeration, against what a record holds.
void MeasureMemory(const Neighbours& neighbours, Machine& machine, unsigned targets, unsigned luns);
