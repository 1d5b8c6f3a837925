#include "tools/fcoectl/DiskSize.h"

#include <windows.h>

#include <winioctl.h>

namespace fcoectl {

std::optional<std::uint64_t> DiskSize(const std::wstring& device) {
    if (!device.starts_with(L"\\\\.\\"))
        return std::nullopt;
    const HANDLE disk =
        CreateFileW(device.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (disk == INVALID_HANDLE_VALUE)
        return std::nullopt;
    DISK_GEOMETRY_EX geometry{};
    DWORD bytes = 0;
    const BOOL known = DeviceIoControl(disk, IOCTL_DISK_GET_DRIVE_GEOMETRY_EX, nullptr, 0, &geometry, sizeof geometry,
                                       &bytes, nullptr);
    CloseHandle(disk);
    if (!known || geometry.DiskSize.QuadPart <= 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(geometry.DiskSize.QuadPart);
}

} // namespace fcoectl
