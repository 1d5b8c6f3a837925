#include "tools/reading/LogWatch.h"

#include <fmt/format.h>

#include "tools/reading/LogPlace.h"
#include "tools/reading/Text.h"

namespace reading {

void LogWatch::Begin() {
    m_thread = GetCurrentThreadId();
    if (!m_file.IsOpen()) {
        const std::wstring own = OwnLogFile();
        if (own.empty() || !m_file.Open(own))
            return;
    }
    m_start = m_file.Size();
}

bool LogWatch::Read(const std::function<void(const agentlog::LogLine& line)>& take) {
    if (!m_file.IsOpen())
        return false;
    m_file.GoTo(m_start);
    const DWORD process = GetCurrentProcessId();
    while (const auto text = m_file.Next()) {
        const auto line = agentlog::ParseLine(*text);
        if (line && line->process == process && line->thread == m_thread)
            take(*line);
    }
    return true;
}

std::string LogWatch::Blindness(bool told) {
    if (told)
        return {};
    const LogSettings settings = ReadLogSettings();
    const std::string where = "HKEY_LOCAL_MACHINE\\" + ToUtf8(settings.key);
    std::string why = "the agent's log cannot be read";
    if (!settings.keyExists)
        why = fmt::format("the agent writes no log without the registry key \"{}\"", where);
    else if (settings.WritesNothing())
        why = fmt::format("the agent's log is off (\"TRACE\" is 0 under \"{}\")", where);
    else if (settings.WritesErrorsOnly())
        why = fmt::format("the agent's log has errors only (\"TRACE\" is 2 under \"{}\")", where);
    return fmt::format("Calls that failed cannot be seen, because {}; what the answer itself shows is told.", why);
}

} // namespace reading
