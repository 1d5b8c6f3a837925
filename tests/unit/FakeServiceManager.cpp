#include "tests/unit/FakeServiceManager.h"

#include <algorithm>

#include <gtest/gtest.h>

FakeServiceManager* FakeServiceManager::s_instance = nullptr;

FakeServiceManager::FakeServiceManager()
    : m_openManager(nullptr, "advapi32.dll", "OpenSCManagerW", reinterpret_cast<void*>(&OpenManager)),
      m_open(nullptr, "advapi32.dll", "OpenServiceW", reinterpret_cast<void*>(&Open)),
      m_query(nullptr, "advapi32.dll", "QueryServiceStatus", reinterpret_cast<void*>(&Query)),
      m_start(nullptr, "advapi32.dll", "StartServiceW", reinterpret_cast<void*>(&Start)),
      m_control(nullptr, "advapi32.dll", "ControlService", reinterpret_cast<void*>(&Control)),
      m_close(nullptr, "advapi32.dll", "CloseServiceHandle", reinterpret_cast<void*>(&Close)),
      m_sleep(nullptr, "kernel32.dll", "Sleep", reinterpret_cast<void*>(&PassTime)) {
    s_instance = this;
}

FakeServiceManager::~FakeServiceManager() {
    EXPECT_EQ(0, openHandles) << "service handles were left open";
    s_instance = nullptr;
}

int FakeServiceManager::Count(const std::string& call) const {
    return static_cast<int>(std::count(m_calls.begin(), m_calls.end(), call));
}

void FakeServiceManager::Note(const char* what, const std::wstring& service) {
    std::string& call = m_calls.emplace_back(what);
    call += ' ';
    call.append(service.begin(), service.end());
}

SC_HANDLE FakeServiceManager::OpenManager(const wchar_t*, const wchar_t*, DWORD access) {
    s_instance->managerAccess.push_back(access);
    if (s_instance->managerError) {
        SetLastError(s_instance->managerError);
        return nullptr;
    }
    ++s_instance->openHandles;
    return reinterpret_cast<SC_HANDLE>(new Handle);
}

SC_HANDLE FakeServiceManager::Open(SC_HANDLE, const wchar_t* name, DWORD access) {
    s_instance->Note("open", name);
    s_instance->serviceAccess.push_back(access);
    const auto found = s_instance->m_services.find(name);
    const DWORD error = found == s_instance->m_services.end() ? ERROR_SERVICE_DOES_NOT_EXIST : found->second.openError;
    if (error) {
        SetLastError(error);
        return nullptr;
    }
    ++s_instance->openHandles;
    return reinterpret_cast<SC_HANDLE>(new Handle{name});
}

BOOL FakeServiceManager::Query(SC_HANDLE handle, SERVICE_STATUS* status) {
    const std::wstring& name = reinterpret_cast<Handle*>(handle)->service;
    s_instance->Note("query", name);
    const FakeService& service = (*s_instance)[name];
    const auto refused = service.refusedQueries.find(s_instance->sleeps);
    const DWORD error = refused == service.refusedQueries.end() ? service.queryError : refused->second;
    if (error) {
        SetLastError(error);
        return FALSE;
    }
    *status = {};
    status->dwCurrentState = service.state;
    return TRUE;
}

BOOL FakeServiceManager::Start(SC_HANDLE handle, DWORD count, const wchar_t** arguments) {
    const std::wstring& name = reinterpret_cast<Handle*>(handle)->service;
    s_instance->Note("start", name);
    EXPECT_EQ(0u, count);
    EXPECT_EQ(nullptr, arguments);
    if ((*s_instance)[name].startFails) {
        SetLastError(ERROR_SERVICE_ALREADY_RUNNING);
        return FALSE;
    }
    return TRUE;
}

BOOL FakeServiceManager::Control(SC_HANDLE handle, DWORD control, SERVICE_STATUS*) {
    const std::wstring& name = reinterpret_cast<Handle*>(handle)->service;
    EXPECT_EQ(static_cast<DWORD>(SERVICE_CONTROL_STOP), control);
    s_instance->Note("stop", name);
    FakeService& service = (*s_instance)[name];
    if (service.controlError) {
        SetLastError(service.controlError);
        return FALSE;
    }
    service.state = SERVICE_STOP_PENDING;
    if (service.stopsAfter)
        service.changes[s_instance->sleeps + service.stopsAfter] = SERVICE_STOPPED;
    return TRUE;
}

BOOL FakeServiceManager::Close(SC_HANDLE handle) {
    delete reinterpret_cast<Handle*>(handle);
    --s_instance->openHandles;
    return TRUE;
}

void FakeServiceManager::PassTime(DWORD milliseconds) {
    s_instance->m_calls.emplace_back("sleep");
    s_instance->sleepTimes.push_back(milliseconds);
    ++s_instance->sleeps;
    for (auto& [name, service] : s_instance->m_services)
        if (const auto change = service.changes.find(s_instance->sleeps); change != service.changes.end())
            service.state = change->second;
}
