#include "tools/log/Problem.h"

#include <cstdio>

#include "tools/log/LibraryStatus.h"

namespace agentlog {

std::string NumberText(Argument kind, std::optional<std::uint32_t> number) {
    if (!number)
        return "";
    if (kind == Argument::LibraryStatus)
        return LibraryStatusText(*number);
    if (kind == Argument::HResult) {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(*number));
        return text;
    }
    return (kind == Argument::SystemError ? "error " : "") + std::to_string(*number);
}

} // namespace agentlog
