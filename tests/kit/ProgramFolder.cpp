#include "tests/kit/ProgramFolder.h"

#include <windows.h>

std::filesystem::path ProgramFile() {
    wchar_t file[MAX_PATH];
    return {file, file + GetModuleFileNameW(nullptr, file, MAX_PATH)};
}

std::filesystem::path ProgramFolder() {
    return ProgramFile().parent_path();
}
