#include "tools/fcoectl/FileVersion.h"

#include <fmt/format.h>

#include <windows.h>

namespace fcoectl {

std::optional<std::string> FileVersion(const std::wstring& file) {
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), nullptr);
    std::string block(size, '\0');
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (!size || !GetFileVersionInfoW(file.c_str(), 0, size, block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) || length < sizeof *info)
        return std::nullopt;
    return fmt::format("{}.{}.{}.{}", HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                       HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS));
}

} // namespace fcoectl
