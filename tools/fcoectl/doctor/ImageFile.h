// What a module's file says of itself, without loading it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

namespace fcoectl {

struct ImageFile {
    WORD machine = 0; // IMAGE_FILE_MACHINE_AMD64 and so on
    bool dll = false;
    std::vector<std::string> imports; // names of the modules that it needs
};

// Nothing when the file cannot be read or is no image.
std::optional<ImageFile> ReadImageFile(const std::wstring& file);

} // namespace fcoectl
