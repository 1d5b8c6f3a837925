// The simulated suite of the tests' two adapters, whatever another case had it show.
#pragma once

#include "tests/reading/ReadingHost.h"

class CapiHost : public ReadingHost {
  public:
    CapiHost() { Simulate(Topology("")); }
};
