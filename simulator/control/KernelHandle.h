// Owner for the handle of a kernel object.
#pragma once

#include <windows.h>

#include "Common/Src/Owner.h"

namespace sim {

struct KernelHandleTraits {
    using Handle = HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};
using KernelHandle = CQelOwner<KernelHandleTraits>;

} // namespace sim
