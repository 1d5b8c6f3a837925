#include "tools/reading/ListAnswer.h"

#include <fmt/format.h>

namespace reading {

std::string NoteOfNone(const std::string& whyNone, const char* list) {
    return whyNone.empty() ? fmt::format("The agent knows no {}.", list) : whyNone;
}

} // namespace reading
