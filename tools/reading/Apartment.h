// The multithreaded apartment of COM on this thread.
#pragma once

#include <windows.h>

#include <objbase.h>

namespace reading {

// Joined for as long as the object lives, as the agent joins it.
class Apartment {
  public:
    Apartment() : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~Apartment() {
        if (SUCCEEDED(m_result))
            CoUninitialize();
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

  private:
    HRESULT m_result;
};

} // namespace reading
