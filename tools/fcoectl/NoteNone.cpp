#include "tools/fcoectl/NoteNone.h"

#include "tools/reading/ListAnswer.h"

namespace fcoectl {

void NoteNone(Context& context, const std::string& whyNone, const char* list) {
    if (!context.report.complete)
        return;
    if (!whyNone.empty() || !context.isPart)
        context.report.notes.push_back(reading::NoteOfNone(whyNone, list));
}

} // namespace fcoectl
