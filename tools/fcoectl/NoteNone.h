// What there is to say of a list without elements.
#pragma once

#include <string>

#include "tools/fcoectl/Command.h"

namespace fcoectl {

// Of an answer that is whole: why there is no adapter (whyNone, empty when there is one), or that none has such a
// thing. A command that is part of another one says the former alone.
void NoteNone(Context& context, const std::string& whyNone, const char* list);

} // namespace fcoectl
