#include "tests/kit/LogCapture.h"

#include <algorithm>
#include <filesystem>

#include <windows.h>

#include "FcoeAgent/QelDebug.h"
#include "tests/kit/TempFolder.h"

namespace {

// The one log file of the program: its folder goes with the program.
std::filesystem::path LogFile() {
    static TempFolder folder;
    static const std::filesystem::path file = [] {
        // Without the suite's registry key the log lies in the folder that the environment names; module "PwSetup"
        // takes the file name alone, which would be the current folder.
        const auto path = folder.Path() / L"test.txt";
        CQelDebug::Instance().Configure(L"PwSetup", path.c_str(), 3, 0, 0);
        return path;
    }();
    return file;
}

} // namespace

LogCapture::LogCapture() {
    Clear();
}

void LogCapture::Clear() {
    std::error_code none;
    const auto size = std::filesystem::file_size(LogFile(), none);
    m_start = none ? 0 : size;
}

std::vector<std::string> LogCapture::WholeLines() const {
    std::vector<std::string> lines;
    const std::string all = ReadFileBytes(LogFile(), m_start);
    for (std::size_t at = 0; at < all.size();) {
        std::size_t end = all.find('\n', at);
        if (end == std::string::npos)
            end = all.size();
        std::string line = all.substr(at, end - at);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        at = end + 1;
    }
    return lines;
}

std::vector<std::string> LogCapture::Lines() const {
    auto lines = WholeLines();
    for (std::string& line : lines) {
        const std::size_t tier = line.find("\tTIER ");
        const std::size_t message = tier == std::string::npos ? tier : line.find("\t\t", tier);
        if (message != std::string::npos)
            line.erase(0, message + 2);
    }
    return lines;
}

std::vector<std::string> LogCapture::Messages() const {
    auto lines = Lines();
    std::erase_if(lines,
                  [](const std::string& line) { return line.starts_with("ENTRY:  ") || line.starts_with("EXIT:  "); });
    return lines;
}

int LogCapture::Count(const std::string& message) const {
    const auto lines = Lines();
    return static_cast<int>(std::count(lines.begin(), lines.end(), message));
}
