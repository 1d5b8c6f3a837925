#include "tests/faults/AgentLog.h"

#include <cerrno>
#include <string_view>

#include "tests/kit/LogText.h"

namespace {

// Static: a cell may have every allocation fail while lines are written.
char g_text[64 << 20]; // for lists whose lying counts have thousands of entries read
std::size_t g_size;
unsigned long long g_writes;
AgentLog::Disk g_disk = AgentLog::Disk::None;
using PFN_write = int (*)(int, const void*, unsigned);
PFN_write g_write;

void Keep(std::string_view message) {
    if (!LogText::IsTrace(message))
        g_size += message.copy(g_text + g_size, sizeof g_text - g_size);
}

// The agent holds its log's lock meanwhile.
int Write(int file, const void* bytes, unsigned size) {
    ++g_writes;
    Keep(LogText::TextOf({static_cast<const char*>(bytes), size}));
    switch (g_disk) {
    case AgentLog::Disk::None:
        return static_cast<int>(size);
    case AgentLog::Disk::Full:
        errno = ENOSPC;
        SetLastError(ERROR_DISK_FULL);
        return -1;
    default:
        return g_write(file, bytes, size);
    }
}

} // namespace

AgentLog::AgentLog(HMODULE agent) : m_write(agent, "msvcrt.dll", "_write", reinterpret_cast<void*>(&Write)) {
    g_write = m_write.Original<PFN_write>();
    Clear();
}

AgentLog::~AgentLog() {
    g_disk = Disk::None;
}

void AgentLog::Set(Disk disk) {
    g_disk = disk;
}

void AgentLog::Clear() {
    g_size = 0;
    g_writes = 0;
}

unsigned long long AgentLog::Writes() const {
    return g_writes;
}

std::vector<std::string> AgentLog::Messages() const {
    const auto messages = LogText::Lines({g_text, g_size});
    return {messages.begin(), messages.end()};
}
