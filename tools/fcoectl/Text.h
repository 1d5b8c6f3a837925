// Text conversions, which the program shares with the reading library.
#pragma once

#include "tools/reading/Text.h"

namespace fcoectl {
using namespace reading;
}
