// Offers the DCB service's COM class to other processes for as long as it lives. One to a process, which ends after it.
#pragma once

#include <atomic>

#include <windows.h>

class ClassServer {
  public:
    // Result tells whether the class is on offer. Initializes COM on the calling thread.
    // onIdle: called, on any thread, whenever the last object or lock of a client is gone; may be null.
    explicit ClassServer(void (*onIdle)() = nullptr);
    ~ClassServer();
    ClassServer(const ClassServer&) = delete;
    ClassServer& operator=(const ClassServer&) = delete;

    HRESULT Result() const { return m_result; }

  private:
    HRESULT Offer(void (*onIdle)());

    HRESULT m_result;
    static inline std::atomic<DWORD> s_registration{0};
};
