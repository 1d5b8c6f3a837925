// The neighbours' modules, loaded beside an agent or without one.
#pragma once

#include <memory>
#include <string>

#include <windows.h>

#include "FcoeAgent/CoreAgentPvt.h"
#include "FcoeAgent/OrvanHbaApi.h"

namespace recording {

class LoadedModule {
  public:
    explicit LoadedModule(const std::wstring& file) : m_module(LoadLibraryW(file.c_str())), m_error(GetLastError()) {}

    HMODULE Get() const { return m_module.get(); }
    DWORD Error() const { return m_error; } // why it is not loaded
    template <class Function> Function Find(const char* name) const {
        void* const found = m_module ? reinterpret_cast<void*>(GetProcAddress(m_module.get(), name)) : nullptr;
        return reinterpret_cast<Function>(found);
    }

  private:
    struct Unload {
        using pointer = HMODULE;
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    std::unique_ptr<HMODULE, Unload> m_module;
    DWORD m_error;
};

// Somebody keeps the mutex.
struct LibraryBusy {};

// The mutex that all processes share for those of the vendor library's functions that no two may call at once.
class VendorTurn {
  public:
    // Waits at most as long as an agent. Throws LibraryBusy.
    VendorTurn();
    ~VendorTurn();
    VendorTurn(const VendorTurn&) = delete;
    VendorTurn& operator=(const VendorTurn&) = delete;

  private:
    HANDLE m_mutex;
};

// Where an agent finds its core agent.
std::wstring CoreAgentFile();

} // namespace recording
