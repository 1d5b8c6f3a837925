#include "tests/soak/LogCheck.h"

#include <algorithm>

#include <windows.h>

#include "tests/kit/LogText.h"
#include "tests/kit/TempFolder.h"

namespace soak {
namespace {

constexpr std::string_view MODULE = "FCOEAGENT";

// With this process's header and a message: something, without another line's beginning or a control character.
bool IsWhole(std::string_view line) {
    const auto parts = LogText::Parse(line);
    return parts && parts->module == MODULE && parts->pid == GetCurrentProcessId() && !parts->text.empty() &&
           parts->text.find("FCOEAGENT\t") == std::string_view::npos &&
           std::none_of(parts->text.begin(), parts->text.end(),
                        [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

} // namespace

LogFigures CheckLog(const std::filesystem::path& file) {
    const std::string log = ReadFileBytes(file);
    LogFigures figures;
    for (const std::string_view line : LogText::Lines(log)) {
        const bool ends = line.data() + line.size() < log.data() + log.size();
        ++figures.lines;
        if (ends && IsWhole(line))
            continue;
        ++figures.bad;
        if (figures.firstBad.empty())
            figures.firstBad = line.substr(0, 300);
    }
    if (figures.lines == 0) {
        figures.bad = 1;
        figures.firstBad = "an empty log";
    }
    return figures;
}

} // namespace soak
