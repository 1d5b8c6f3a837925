// A list in the form that was asked for.
#pragma once

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// Into the document under the name of the list, or written in the other forms.
void ShowSheet(Context& context, const char* list, Sheet sheet);

} // namespace fcoectl
