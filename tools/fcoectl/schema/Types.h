// JSON Schemas of values, as the schemas of documents are put together from them.
#pragma once

#include <initializer_list>
#include <utility>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Text.h"
#include "tools/reading/Sheet.h"

namespace fcoectl::schema {

using Json = nlohmann::ordered_json;
using Members = std::initializer_list<std::pair<const char*, Json>>;

Json Text();
Json TextOf(std::initializer_list<const char*> values); // one of these
Json Integer();
Json Number();
Json Boolean();
Json Only(Json value); // this very value
Json OrNull(Json schema);
Json ListOf(Json elements);
// A definition that the document's schema has, see Document.h.
Json Defined(const char* name);
// An object with all of these members.
Json Object(Members members);

// A row with these columns; with --columns it has only some.
Json Row(const SheetColumns& columns);

} // namespace fcoectl::schema
