#include "tests/unit/MutexProbe.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/unit/FailingMemory.h"

namespace {

MutexProbe* g_probe;

using PFN_CreateMutexW = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*);
using PFN_OpenMutexW = HANDLE(WINAPI*)(DWORD, BOOL, const wchar_t*);
using PFN_WaitForSingleObject = DWORD(WINAPI*)(HANDLE, DWORD);
using PFN_HandleFunction = BOOL(WINAPI*)(HANDLE);

// Never reset: another thread may be on its way through an import when the object goes.
PFN_CreateMutexW g_createMutex;
PFN_OpenMutexW g_openMutex;
PFN_WaitForSingleObject g_waitForSingleObject;
PFN_HandleFunction g_releaseMutex, g_closeHandle;

std::wstring PrivateName() {
    return L"Local\\FcoeTestMutex" + std::to_wstring(GetCurrentProcessId());
}

std::string Narrow(const wchar_t* text) {
    std::string narrow;
    for (; *text; ++text)
        narrow += static_cast<char>(*text);
    return narrow;
}

} // namespace

MutexProbe::MutexProbe()
    : m_create(nullptr, "KERNEL32.dll", "CreateMutexW", reinterpret_cast<void*>(&OnCreate)),
      m_open(nullptr, "KERNEL32.dll", "OpenMutexW", reinterpret_cast<void*>(&OnOpen)),
      m_wait(nullptr, "KERNEL32.dll", "WaitForSingleObject", reinterpret_cast<void*>(&OnWait)),
      m_release(nullptr, "KERNEL32.dll", "ReleaseMutex", reinterpret_cast<void*>(&OnRelease)),
      m_close(nullptr, "KERNEL32.dll", "CloseHandle", reinterpret_cast<void*>(&OnClose)) {
    EXPECT_EQ(nullptr, g_probe) << "one probe at a time";
    g_createMutex = m_create.Original<PFN_CreateMutexW>();
    g_openMutex = m_open.Original<PFN_OpenMutexW>();
    g_waitForSingleObject = m_wait.Original<PFN_WaitForSingleObject>();
    g_releaseMutex = m_release.Original<PFN_HandleFunction>();
    g_closeHandle = m_close.Original<PFN_HandleFunction>();
    g_probe = this;
}

MutexProbe::~MutexProbe() {
    EXPECT_TRUE(m_handles.empty()) << "a handle of the mutex was left open";
    g_probe = nullptr;
}

HANDLE MutexProbe::Open(DWORD access) {
    const HANDLE mutex = g_createMutex(nullptr, FALSE, PrivateName().c_str());
    if (access == MUTEX_ALL_ACCESS)
        return mutex;
    const HANDLE limited = g_openMutex(access, FALSE, PrivateName().c_str());
    g_closeHandle(mutex);
    return limited;
}

std::vector<std::string> MutexProbe::Events() const {
    const std::lock_guard lock(m_lock);
    return m_events;
}

void MutexProbe::Clear() {
    const std::lock_guard lock(m_lock);
    m_events.clear();
}

bool MutexProbe::IsHeld() const {
    bool held = false;
    std::thread([&] {
        const HANDLE mutex = Open();
        held = g_waitForSingleObject(mutex, 0) == WAIT_TIMEOUT;
        if (!held)
            g_releaseMutex(mutex);
        g_closeHandle(mutex);
    }).join();
    return held;
}

void MutexProbe::Note(std::string event) {
    const std::lock_guard lock(m_lock);
    m_events.push_back(std::move(event));
}

HANDLE MutexProbe::Remember(HANDLE handle) {
    const std::lock_guard lock(m_lock);
    m_handles.insert(handle);
    return handle;
}

bool MutexProbe::IsMutex(HANDLE handle) const {
    const std::lock_guard lock(m_lock);
    return m_handles.contains(handle);
}

HANDLE WINAPI MutexProbe::OnCreate(SECURITY_ATTRIBUTES* attributes, BOOL owned, const wchar_t* name) {
    const FailingMemory::Pause pause;
    if (!g_probe || !name)
        return g_createMutex(attributes, owned, name);
    g_probe->Note("create " + Narrow(name) + (owned ? " owned" : "") + (attributes ? " secured" : ""));
    if (const DWORD error = g_probe->createError) {
        SetLastError(error);
        return nullptr;
    }
    return g_probe->Remember(Open());
}

HANDLE WINAPI MutexProbe::OnOpen(DWORD access, BOOL inherited, const wchar_t* name) {
    const FailingMemory::Pause pause;
    if (!g_probe || !name)
        return g_openMutex(access, inherited, name);
    g_probe->Note("open " + Narrow(name) + (access == SYNCHRONIZE ? " SYNCHRONIZE" : " " + std::to_string(access)) +
                  (inherited ? " inherited" : ""));
    if (const DWORD error = g_probe->openError) {
        SetLastError(error);
        return nullptr;
    }
    return g_probe->Remember(Open(access));
}

DWORD WINAPI MutexProbe::OnWait(HANDLE handle, DWORD milliseconds) {
    const FailingMemory::Pause pause;
    if (!g_probe || !g_probe->IsMutex(handle))
        return g_waitForSingleObject(handle, milliseconds);
    g_probe->Note("wait " + std::to_string(milliseconds));
    if (g_probe->cannotWait)
        return WAIT_FAILED;
    return g_waitForSingleObject(handle, std::min(milliseconds, g_probe->waitLimit.load()));
}

BOOL WINAPI MutexProbe::OnRelease(HANDLE handle) {
    const FailingMemory::Pause pause;
    if (g_probe && g_probe->IsMutex(handle))
        g_probe->Note("release");
    return g_releaseMutex(handle);
}

BOOL WINAPI MutexProbe::OnClose(HANDLE handle) {
    const FailingMemory::Pause pause;
    if (g_probe && g_probe->IsMutex(handle)) {
        g_probe->Note("close");
        const std::lock_guard lock(g_probe->m_lock);
        g_probe->m_handles.erase(handle);
    }
    return g_closeHandle(handle);
}

MutexHolder::MutexHolder()
    : m_thread([this] {
          const HANDLE mutex = MutexProbe::Open();
          EXPECT_EQ(WAIT_OBJECT_0, g_waitForSingleObject(mutex, INFINITE));
          m_taken.set_value();
          m_done.get_future().wait();
          g_releaseMutex(mutex);
          g_closeHandle(mutex);
      }) {
    m_taken.get_future().wait();
}

MutexHolder::~MutexHolder() {
    m_done.set_value();
    m_thread.join();
}

AbandonedMutex::AbandonedMutex() : m_handle(MutexProbe::Open()) {
    std::thread([this] { EXPECT_EQ(WAIT_OBJECT_0, g_waitForSingleObject(m_handle, INFINITE)); }).join();
}

AbandonedMutex::~AbandonedMutex() {
    g_closeHandle(m_handle);
}
