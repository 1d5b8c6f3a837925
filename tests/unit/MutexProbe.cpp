#include "tests/unit/MutexProbe.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/unit/FailingMemory.h"

namespace {

MutexProbe* g_probe;

using PFN_CreateMutexW = HANDLE(WINAPI*)(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*);
using PFN_WaitForSingleObject = DWORD(WINAPI*)(HANDLE, DWORD);
using PFN_HandleFunction = BOOL(WINAPI*)(HANDLE);

// Never reset: another thread may be on its way through an import when the object goes.
PFN_CreateMutexW g_createMutex;
PFN_WaitForSingleObject g_waitForSingleObject;
PFN_HandleFunction g_releaseMutex, g_closeHandle;

std::wstring PrivateName() {
    return L"Local\\FcoeTestMutex" + std::to_wstring(GetCurrentProcessId());
}

} // namespace

MutexProbe::MutexProbe()
    : m_create(nullptr, "KERNEL32.dll", "CreateMutexW", reinterpret_cast<void*>(&OnCreate)),
      m_wait(nullptr, "KERNEL32.dll", "WaitForSingleObject", reinterpret_cast<void*>(&OnWait)),
      m_release(nullptr, "KERNEL32.dll", "ReleaseMutex", reinterpret_cast<void*>(&OnRelease)),
      m_close(nullptr, "KERNEL32.dll", "CloseHandle", reinterpret_cast<void*>(&OnClose)) {
    EXPECT_EQ(nullptr, g_probe) << "one probe at a time";
    g_createMutex = m_create.Original<PFN_CreateMutexW>();
    g_waitForSingleObject = m_wait.Original<PFN_WaitForSingleObject>();
    g_releaseMutex = m_release.Original<PFN_HandleFunction>();
    g_closeHandle = m_close.Original<PFN_HandleFunction>();
    g_probe = this;
}

MutexProbe::~MutexProbe() {
    EXPECT_TRUE(m_handles.empty()) << "a handle of the mutex was left open";
    g_probe = nullptr;
}

HANDLE MutexProbe::Open() {
    return g_createMutex(nullptr, FALSE, PrivateName().c_str());
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

bool MutexProbe::IsMutex(HANDLE handle) const {
    const std::lock_guard lock(m_lock);
    return m_handles.contains(handle);
}

HANDLE WINAPI MutexProbe::OnCreate(SECURITY_ATTRIBUTES* attributes, BOOL owned, const wchar_t* name) {
    const FailingMemory::Pause pause;
    if (!g_probe || !name)
        return g_createMutex(attributes, owned, name);
    std::string event = "create ";
    for (; *name; ++name)
        event += static_cast<char>(*name);
    g_probe->Note(event + (owned ? " owned" : "") + (attributes ? " secured" : ""));
    if (g_probe->cannotCreate) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const HANDLE handle = Open();
    const std::lock_guard lock(g_probe->m_lock);
    g_probe->m_handles.insert(handle);
    return handle;
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
