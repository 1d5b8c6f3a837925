#include "simulator/control/CallLog.h"

namespace sim {

CallLog& CallLog::Instance() {
    static CallLog log;
    return log;
}

CallLog::CallLog() : m_file(ConfiguredCallFile()) {
    m_on = m_file.IsOpen();
}

void CallLog::Reset() {
    for (auto& count : m_counts)
        count = 0;
    const std::lock_guard lock(m_lock);
    m_recorded.clear();
}

void CallLog::Write(const std::string& line, std::uint64_t version, const CallFile* file) {
    const std::lock_guard lock(m_lock);
    if (m_record)
        m_recorded += line + "\n";
    (file ? *file : m_file).Write(line, version);
}

void CallLog::Record(bool record) {
    const std::lock_guard lock(m_lock);
    m_record = record;
    m_on = record || m_file.IsOpen();
}

std::string CallLog::Recorded() {
    const std::lock_guard lock(m_lock);
    return m_recorded;
}

} // namespace sim
