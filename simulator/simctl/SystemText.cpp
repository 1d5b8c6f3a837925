#include "simulator/simctl/SystemText.h"

#include <iterator>

#include <windows.h>

#include "simulator/topology/Text.h"

namespace simctl {

std::string SystemText(unsigned long error) {
    wchar_t text[512] = L"";
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                        text, static_cast<DWORD>(std::size(text)), nullptr);
    std::string said = sim::Utf8({text, length});
    while (!said.empty() && (said.back() == '\n' || said.back() == '\r' || said.back() == '.' || said.back() == ' '))
        said.pop_back();
    return "error " + std::to_string(error) + (said.empty() ? "" : " (" + said + ")");
}

} // namespace simctl
