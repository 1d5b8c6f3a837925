// What a mistyped name may have been meant for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fcoectl {

// The known name that is a typing mistake or two away from the given one, or its only continuation; empty when none is.
std::string Suggestion(std::string_view given, const std::vector<std::string>& known);

// How a sentence about the given name ends: "; did you mean 'ports'?", or ".".
std::string DidYouMean(std::string_view given, const std::vector<std::string>& known);

} // namespace fcoectl
