// A critical section and the scope that holds it.
#pragma once

#include <windows.h>

class CQelCriticalSectionGuard {
  public:
    explicit CQelCriticalSectionGuard(CRITICAL_SECTION& cs) : m_cs(cs) { EnterCriticalSection(&m_cs); }
    ~CQelCriticalSectionGuard() { LeaveCriticalSection(&m_cs); }
    CQelCriticalSectionGuard(const CQelCriticalSectionGuard&) = delete;
    CQelCriticalSectionGuard& operator=(const CQelCriticalSectionGuard&) = delete;

  private:
    CRITICAL_SECTION& m_cs;
};
