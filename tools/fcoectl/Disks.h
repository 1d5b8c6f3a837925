// The `disks` command: the logical units as the operating system's disks, each with its paths.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FcoeAgent/FcoeRecords.h"
#include "tools/fcoectl/Command.h"

namespace fcoectl {

// The bytes of the device of that name; none when it cannot be asked.
using SizeOf = std::function<std::optional<std::uint64_t>(const std::wstring& device)>;

// One row a device name, in the order in which they first appear; units without one are left out. Vendor and serial
// number are those of the targets that lead to it.
Sheet SheetOfDisks(const std::vector<QEL_FCOE_LUN>& luns, const std::vector<QEL_FCOE_TARGET>& targets,
                   const SizeOf& sizeOf);

// The least number of bytes that a capacity such as "512 MB" stands for; none for "Unknown".
std::optional<std::uint64_t> BytesOfText(std::wstring_view capacity);

void ListDisks(AgentContext& context);
SheetColumns DiskColumns(const Options& options);

} // namespace fcoectl
