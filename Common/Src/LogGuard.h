// The scope that holds the log's lock.
#pragma once

#include "Common/Src/ProcessExit.h"
#include "FcoeAgent/QelLock.h"

// Holds the lock, as the compiler's check takes it, but for one case, for which it is tested first of all: while the
// process ends, a thread that is gone may hold the lock for ever. Then the scope is false, and the log stays quiet.
class QEL_SCOPED_CAPABILITY CQelLogGuard {
  public:
    explicit CQelLogGuard(CQelLock& lock) noexcept QEL_ACQUIRE(lock) QEL_UNCHECKED_LOCKING : m_lock(lock) {
        if (ProcessIsTerminating())
            m_bHeld = m_lock.TryEnter();
        else
            m_lock.Enter();
    }
    ~CQelLogGuard() QEL_RELEASE() QEL_UNCHECKED_LOCKING {
        if (m_bHeld)
            m_lock.Leave();
    }
    CQelLogGuard(const CQelLogGuard&) = delete;
    CQelLogGuard& operator=(const CQelLogGuard&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return m_bHeld; }

  private:
    CQelLock& m_lock;
    bool m_bHeld = true;
};
