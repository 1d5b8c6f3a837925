// Text conversions, and all else that the program shares with the reading library, by its own name.
#pragma once

#include "tools/reading/Text.h"

namespace fcoectl {
using namespace reading;
}
