// The vendor library's cross-process mutex as a test sees it.
//
// While the object lives, the mutex that the code under test opens is one of this process, so that test programs that
// run side by side do not hold each other up, and every step with it is noted. One object at a time.
#pragma once

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "tests/kit/ImportPatch.h"

class MutexProbe {
  public:
    MutexProbe();
    ~MutexProbe();
    MutexProbe(const MutexProbe&) = delete;
    MutexProbe& operator=(const MutexProbe&) = delete;

    // No wait for the mutex takes longer than this, whatever was asked for.
    std::atomic<DWORD> waitLimit{INFINITE};
    // Not 0: CreateMutexW fails for this reason.
    std::atomic<DWORD> createError{0};
    // Not 0: OpenMutexW fails for this reason.
    std::atomic<DWORD> openError{0};
    // WaitForSingleObject fails.
    std::atomic<bool> cannotWait{false};

    // What was done: "create NAME", with " owned" or " secured" when that was asked for; "open NAME ACCESS", with
    // " inherited" when that was asked for; "wait MILLISECONDS"; "release", "close".
    std::vector<std::string> Events() const;
    void Clear();
    // Whether a thread has the mutex. From a thread of its own, so the caller's ownership counts, too.
    bool IsHeld() const;

  private:
    friend class MutexHolder;
    friend class AbandonedMutex;
    static HANDLE Open(DWORD access = MUTEX_ALL_ACCESS);
    void Note(std::string event);
    bool IsMutex(HANDLE handle) const;

    HANDLE Remember(HANDLE handle);

    static HANDLE WINAPI OnCreate(SECURITY_ATTRIBUTES* attributes, BOOL owned, const wchar_t* name);
    static HANDLE WINAPI OnOpen(DWORD access, BOOL inherited, const wchar_t* name);
    static DWORD WINAPI OnWait(HANDLE handle, DWORD milliseconds);
    static BOOL WINAPI OnRelease(HANDLE handle);
    static BOOL WINAPI OnClose(HANDLE handle);

    mutable std::mutex m_lock; // guards the events and the handles
    std::vector<std::string> m_events;
    std::set<HANDLE> m_handles;
    ImportPatch m_create, m_open, m_wait, m_release, m_close;
};

// Another thread, which holds the mutex as long as the object lives.
class MutexHolder {
  public:
    MutexHolder();
    ~MutexHolder();
    MutexHolder(const MutexHolder&) = delete;
    MutexHolder& operator=(const MutexHolder&) = delete;

  private:
    std::promise<void> m_taken, m_done;
    std::thread m_thread;
};

// A mutex that a thread took and ended with. The object keeps it in existence.
class AbandonedMutex {
  public:
    AbandonedMutex();
    ~AbandonedMutex();
    AbandonedMutex(const AbandonedMutex&) = delete;
    AbandonedMutex& operator=(const AbandonedMutex&) = delete;

  private:
    HANDLE m_handle;
};
