// Where the files are that tests read.
#pragma once

#include <filesystem>

// The folder tests/data of the sources.
std::filesystem::path TestData();

// The folder of all the sources.
std::filesystem::path SourceFolder();
