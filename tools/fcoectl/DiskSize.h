// The size of a disk as Windows knows it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fcoectl {

// In bytes. None when the name is not that of a device (\\.\PHYSICALDRIVE2), or the device cannot be opened or asked;
// nothing is read from it, so no rights are needed.
std::optional<std::uint64_t> DiskSize(const std::wstring& device);

} // namespace fcoectl
