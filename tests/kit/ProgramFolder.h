// Where the program lies, and all modules with it.
#pragma once

#include <filesystem>

std::filesystem::path ProgramFile();
std::filesystem::path ProgramFolder();
