// Which rows and columns of a list are shown, and in what order.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/fcoectl/Options.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Sheet.h"

namespace fcoectl {

// columns: "name,speed"; sort: "-speed,name"; where: "name=*Port 1". A column is named by its key or its title, in any
// letter case. Throws std::invalid_argument with a sentence that names what can be meant.
Query ParseQuery(const std::string& columns, const std::string& sort, const std::vector<std::string>& where,
                 const SheetColumns& known);

// The rows that fulfil all conditions, sorted, with the columns asked for; without any those of a table, or all for the
// forms that show all.
Sheet Arranged(Sheet sheet, const Query& query, Form form);

// Whether the text has the form of the pattern, in any letter case: * stands for any text, ? for one character.
bool MatchesGlob(std::string_view pattern, std::string_view text);

} // namespace fcoectl
