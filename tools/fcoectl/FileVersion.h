// The version that a file tells of itself.
#pragma once

#include <optional>
#include <string>

namespace fcoectl {

// "1.0.0.0" of its version resource; nothing when it has none or cannot be read.
std::optional<std::string> FileVersion(const std::wstring& file);

} // namespace fcoectl
