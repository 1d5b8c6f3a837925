// This machine and who uses it.
#pragma once

#include <string>

namespace fcoectl {

// Empty when Windows does not tell.
std::string ComputerName();
std::string UserName();

// "2026-11-22 17:02:14"
std::string LocalTime();

} // namespace fcoectl
