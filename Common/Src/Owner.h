// One owner for every kind of system handle: closes it at scope end, moves, never copies.
#pragma once

#include <cstdlib>
#include <utility>

#include <windows.h>

// Traits: `Handle`, the handle type; `Empty()`, the value that owns nothing; `Close(handle)`.
// Closing keeps the thread's last-error value, so wrapping never hides why a call failed.
template <class Traits> class CQelOwner {
  public:
    using Handle = typename Traits::Handle;

    CQelOwner() noexcept = default;
    explicit CQelOwner(Handle handle) noexcept : m_handle(handle) {}
    CQelOwner(CQelOwner&& other) noexcept : m_handle(other.Release()) {}
    CQelOwner& operator=(CQelOwner&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~CQelOwner() { Reset(); }

    Handle Get() const noexcept { return m_handle; }
    explicit operator bool() const noexcept { return m_handle != Traits::Empty(); }
    Handle Release() noexcept { return std::exchange(m_handle, Traits::Empty()); }
    void Reset(Handle handle = Traits::Empty()) noexcept {
        if (m_handle != Traits::Empty()) {
            const DWORD dwError = GetLastError();
            Traits::Close(m_handle);
            SetLastError(dwError);
        }
        m_handle = handle;
    }
    // For functions that hand out a handle through a pointer; releases what was held.
    Handle* Put() noexcept {
        Reset();
        return &m_handle;
    }

  private:
    Handle m_handle = Traits::Empty();
};

struct CQelServiceTraits {
    using Handle = SC_HANDLE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { CloseServiceHandle(handle); }
};
using CQelServiceHandle = CQelOwner<CQelServiceTraits>;

struct CQelModuleTraits {
    using Handle = HMODULE;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { FreeLibrary(handle); }
};
using CQelModule = CQelOwner<CQelModuleTraits>;

struct CQelKeyTraits {
    using Handle = HKEY;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { RegCloseKey(handle); }
};
using CQelKeyHandle = CQelOwner<CQelKeyTraits>;

// Memory of the C allocator, which is what crosses the vendor library's boundary.
template <class T> struct CQelAllocationTraits {
    using Handle = T*;
    static Handle Empty() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { std::free(handle); }
};
template <class T> using CQelAllocation = CQelOwner<CQelAllocationTraits<T>>;
