// The lock that threads of one process share, and the scope that holds it.
#pragma once

#include <windows.h>

// What a lock guards is written beside it, and checked where the compiler can: clang with -Wthread-safety.
#if defined(__clang__)
#define QEL_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QEL_THREAD_SAFETY(attribute)
#endif
#define QEL_CAPABILITY(name) QEL_THREAD_SAFETY(capability(name))
#define QEL_SCOPED_CAPABILITY QEL_THREAD_SAFETY(scoped_lockable)
// A field that is read and written under the lock only.
#define QEL_GUARDED_BY(lock) QEL_THREAD_SAFETY(guarded_by(lock))
// A function that is called under the lock; one that is not.
#define QEL_REQUIRES(lock) QEL_THREAD_SAFETY(requires_capability(lock))
#define QEL_EXCLUDES(lock) QEL_THREAD_SAFETY(locks_excluded(lock))
#define QEL_ACQUIRE(...) QEL_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define QEL_TRY_ACQUIRE(...) QEL_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
#define QEL_RELEASE(...) QEL_THREAD_SAFETY(release_capability(__VA_ARGS__))
// A function that the checker cannot follow; the comment there says why it is right.
#define QEL_UNCHECKED_LOCKING QEL_THREAD_SAFETY(no_thread_safety_analysis)

// A critical section: a thread that holds it may enter it again.
class QEL_CAPABILITY("lock") CQelLock {
  public:
    CQelLock() noexcept { InitializeCriticalSection(&m_cs); }
    ~CQelLock() { DeleteCriticalSection(&m_cs); }
    CQelLock(const CQelLock&) = delete;
    CQelLock& operator=(const CQelLock&) = delete;

    void Enter() noexcept QEL_ACQUIRE() { EnterCriticalSection(&m_cs); }
    bool TryEnter() noexcept QEL_TRY_ACQUIRE(true) { return TryEnterCriticalSection(&m_cs); }
    void Leave() noexcept QEL_RELEASE() { LeaveCriticalSection(&m_cs); }

  private:
    CRITICAL_SECTION m_cs;
};

// Holds a lock to the end of the scope.
class QEL_SCOPED_CAPABILITY CQelLockGuard {
  public:
    explicit CQelLockGuard(CQelLock& lock) noexcept QEL_ACQUIRE(lock) : m_lock(lock) { m_lock.Enter(); }
    ~CQelLockGuard() QEL_RELEASE() { m_lock.Leave(); }
    CQelLockGuard(const CQelLockGuard&) = delete;
    CQelLockGuard& operator=(const CQelLockGuard&) = delete;

  private:
    CQelLock& m_lock;
};
