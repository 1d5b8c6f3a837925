// simctl reset
#include <algorithm>

#include <windows.h>

#include "simulator/simctl/InUse.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {

int Reset(Console& console) {
    const KeptState state = ReadState(FindInUse());
    const std::string name = sim::Utf8(state.file.wstring());
    if (!DeleteFileW(state.file.c_str())) {
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
            console.Err(name + ": cannot be deleted: " + SystemText(error) + "\n");
            return WRONG;
        }
        console.Out("nothing to forget: no virtual port was created or removed\n");
        return GOOD;
    }
    if (!state.error.empty()) {
        console.Out("forgotten: a state file that was wrong, " + name + "\n");
        return GOOD;
    }
    const auto created = std::ranges::count_if(state.changes, [](const PortChange& change) { return change.created; });
    const auto all = static_cast<std::ptrdiff_t>(state.changes.size());
    console.Out("forgotten: " + std::to_string(created) + " created and " + std::to_string(all - created) +
                " removed virtual ports, " + name + "\n");
    return GOOD;
}

} // namespace simctl
