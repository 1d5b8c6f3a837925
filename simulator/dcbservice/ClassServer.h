// Offers the DCB service's COM class to other processes for as long as it lives.
#pragma once

#include <atomic>
#include <vector>

#include <windows.h>

#include <objidl.h>

#include "Common/Src/ComOwner.h"

class ClassServer {
  public:
    // Result tells whether the class is on offer. COM is initialized on the calling thread, which destroys the object.
    // onIdle: called, on any thread, whenever the last object or lock of a client is gone; may be null.
    explicit ClassServer(void (*onIdle)() = nullptr);
    ~ClassServer();
    ClassServer(const ClassServer&) = delete;
    ClassServer& operator=(const ClassServer&) = delete;

    HRESULT Result() const { return m_result; }

    // Ends the process as a crash would, in the middle of whatever it does.
    [[noreturn]] static void Crash();

  private:
    HRESULT Offer(void (*onIdle)());
    HRESULT Keep(IUnknown* object, REFIID iid);

    HRESULT m_result;
    bool m_comInitialized;
    std::vector<CQelComPointer<IStream>> m_kept; // the marshalled interfaces that stay
    static inline std::atomic<DWORD> s_registration{0};
};
