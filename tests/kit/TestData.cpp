#include "tests/kit/TestData.h"

std::filesystem::path TestData() {
    return SourceFolder() / "tests/data";
}

std::filesystem::path SourceFolder() {
    return FCOE_SOURCE_FOLDER;
}
