// What stands in the documents of the commands between the envelope's members, where it is no list with columns.
#pragma once

#include <string_view>

#include "tools/fcoectl/schema/Types.h"

namespace fcoectl::schema {

// The members by their keys; an empty object for a command that has none of its own.
Json BodyOf(std::string_view command);

// What the schema's $defs need for that body; an empty object: nothing.
Json DefinitionsOf(std::string_view command);

} // namespace fcoectl::schema
