#pragma once

#include <string>

namespace simctl {

// "error 5 (Access denied)"
std::string SystemText(unsigned long error);

} // namespace simctl
