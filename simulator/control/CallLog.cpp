#include "simulator/control/CallLog.h"

namespace sim {

CallLog& CallLog::Instance() {
    static CallLog log;
    return log;
}

CallLog::CallLog() {
    wchar_t file[MAX_PATH * 2];
    const DWORD length = GetEnvironmentVariableW(L"ORVAN_SIM_CALLS", file, MAX_PATH * 2);
    if (length == 0 || length >= MAX_PATH * 2)
        return;
    // Appending writes of one line each do not mix, whichever process they come from.
    m_file = CreateFileW(file, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_on = m_file != INVALID_HANDLE_VALUE;
}

CallLog::~CallLog() {
    if (m_file != INVALID_HANDLE_VALUE)
        CloseHandle(m_file);
}

void CallLog::Reset() {
    for (auto& count : m_counts)
        count = 0;
    const std::lock_guard lock(m_lock);
    m_recorded.clear();
}

void CallLog::Write(const std::string& line) {
    const std::string text = line + "\r\n";
    const std::lock_guard lock(m_lock);
    if (m_record)
        m_recorded += line + "\n";
    DWORD written = 0;
    if (m_file != INVALID_HANDLE_VALUE)
        WriteFile(m_file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void CallLog::Record(bool record) {
    const std::lock_guard lock(m_lock);
    m_record = record;
    m_on = record || m_file != INVALID_HANDLE_VALUE;
}

std::string CallLog::Recorded() {
    const std::lock_guard lock(m_lock);
    return m_recorded;
}

} // namespace sim
