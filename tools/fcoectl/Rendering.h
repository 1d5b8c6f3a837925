// A list as text in each of its forms.
#pragma once

#include <string>

#include "tools/fcoectl/Options.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Sheet.h"

namespace fcoectl {

struct Style {
    bool header = true;
    bool colours = false; // escape sequences of a terminal
};

// Whole lines. Form::Json is compact then, one line; programs get it in their document instead.
std::string Rendered(const Sheet& sheet, Form form, const Style& style);

// One line of JSON in ASCII.
std::string JsonLine(const nlohmann::ordered_json& value);

} // namespace fcoectl
