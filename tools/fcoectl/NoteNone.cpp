#include "tools/fcoectl/NoteNone.h"

#include <fmt/format.h>

namespace fcoectl {

void NoteNone(Context& context, const std::string& whyNone, const char* list) {
    if (!context.report.complete)
        return;
    if (!whyNone.empty())
        context.report.notes.push_back(whyNone);
    else if (!context.isPart)
        context.report.notes.push_back(fmt::format("The agent knows no {}.", list));
}

} // namespace fcoectl
