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

std::string LogCapture::Log() const {
    return ReadFileBytes(LogFile(), m_start);
}

std::vector<std::string> LogCapture::WholeLines() const {
    const std::string log = Log();
    const auto lines = LogText::Lines(log);
    return {lines.begin(), lines.end()};
}

std::vector<std::string> LogCapture::Lines() const {
    return LogText::Texts(Log());
}

std::vector<std::string> LogCapture::Messages(const LogText::Filter& filter) const {
    return LogText::Messages(Log(), filter);
}

int LogCapture::Count(const std::string& message) const {
    const auto lines = Lines();
    return static_cast<int>(std::count(lines.begin(), lines.end(), message));
}
