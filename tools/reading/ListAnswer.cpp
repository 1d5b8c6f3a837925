#include "tools/reading/ListAnswer.h"

#include <fmt/format.h>

#include "tools/reading/LogHint.h"

namespace reading {

std::string NoteOfNone(const std::string& whyNone, const char* list) {
    return whyNone.empty() ? fmt::format("The agent knows no {}.", list) : whyNone;
}

void Tell(DocumentSink& sink, const Sheet& sheet) {
    sink.BeginArray();
    for (const auto& row : sheet.rows) {
        sink.BeginObject();
        for (std::size_t i = 0; i < row.size(); ++i)
            sink.Member(sheet.columns[i].key, row[i]);
        sink.End();
    }
    sink.End();
}

void TellPartial(DocumentSink& sink) {
    sink.Key("error");
    TellError(sink, {PARTIAL_EXIT_CODE, PARTIAL_NAME, PARTIAL_MEANING, {}, {}, PARTIAL_EXIT_CODE, {LogHint()}});
}

} // namespace reading
