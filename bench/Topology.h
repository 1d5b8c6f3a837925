// Topologies of any size for the benchmark.
#pragma once

#include <cstring>
#include <string>

#include "FcoeAgent/QelString.h"

// The one adapter of every benchmark topology.
constexpr char BENCH_ADAPTER[] = "{00000000-BE7C-4000-8000-000000000001}";

inline CQelString BenchAdapter() {
    CQelString text;
    text.assign(BENCH_ADAPTER, BENCH_ADAPTER + std::strlen(BENCH_ADAPTER));
    return text;
}

// JSON text: one adapter whose physical port reaches `targets` targets with `luns` LUNs each. The port is not online,
// so that no DCB service is part of what is measured.
std::string BenchTopology(unsigned targets, unsigned luns);
