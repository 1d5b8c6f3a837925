#include "simulator/coreagent/ConfigurationLock.h"

#include <cwchar>

#include "simulator/coreagent/Names.h"
#include "simulator/topology/Topology.h"

namespace coreagent {
namespace {

constexpr DWORD DEFAULT_WAIT = 10000; // milliseconds
constexpr DWORD RETRY_INTERVAL = 5;

DWORD ConfiguredWait() {
    const std::wstring text = sim::SimulatorSetting(LOCK_WAIT_VARIABLE, LOCK_WAIT_VALUE);
    return text.empty() ? DEFAULT_WAIT : static_cast<DWORD>(std::wcstoul(text.c_str(), nullptr, 10));
}

} // namespace

ConfigurationLock::ConfigurationLock() : m_name(LOCK_NAME + sim::SimulatorSetting(INSTANCE_VARIABLE, INSTANCE_VALUE)) {}

bool ConfigurationLock::Take(ULONG owner) {
    const ULONGLONG start = GetTickCount64();
    const DWORD wait = ConfiguredWait();
    while (!TryTake(owner)) {
        if (GetTickCount64() - start >= wait)
            return false;
        Sleep(RETRY_INTERVAL);
    }
    return true;
}

bool ConfigurationLock::TryTake(ULONG owner) {
    const std::lock_guard lock(m_mutex);
    if (m_held)
        return false;
    // Who makes the object has the lock. Nobody waits on it: a waiter's handle would keep the lock of a process that
    // ended.
    sim::KernelHandle made(CreateEventW(nullptr, TRUE, FALSE, m_name.c_str()));
    if (!made || GetLastError() == ERROR_ALREADY_EXISTS)
        return false;
    m_held = std::move(made);
    m_owner = owner;
    return true;
}

bool ConfigurationLock::Release(ULONG owner) {
    const std::lock_guard lock(m_mutex);
    if (!m_held || m_owner != owner)
        return false;
    m_held.Reset();
    return true;
}

} // namespace coreagent
