#include <stdexcept>

#include "simulator/verify/Library.h"

namespace verify {
namespace {

HANDLE CreateOrOpen() {
    constexpr wchar_t NAME[] = L"Global\\CHBAAPINTMUT";
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, NAME);
    return mutex || GetLastError() != ERROR_ACCESS_DENIED ? mutex : OpenMutexW(SYNCHRONIZE, FALSE, NAME);
}

} // namespace

VendorMutex::VendorMutex(Asker& asker, bool needed) {
    constexpr DWORD WAIT_MS = 10000; // as long as the agent waits
    if (!needed)
        return;
    m_mutex = CreateOrOpen();
    DWORD waited = m_mutex ? WaitForSingleObject(m_mutex, 0) : WAIT_FAILED;
    if (waited == WAIT_TIMEOUT) {
        asker.Wait(WAIT_MS);
        waited = WaitForSingleObject(m_mutex, WAIT_MS);
    }
    if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED)
        return;
    if (m_mutex)
        CloseHandle(m_mutex);
    throw std::runtime_error("another process keeps the vendor library's mutex Global\\CHBAAPINTMUT");
}

VendorMutex::~VendorMutex() {
    if (m_mutex) {
        ReleaseMutex(m_mutex);
        CloseHandle(m_mutex);
    }
}

void MendVendorMutex() {
    const HANDLE mutex = CreateOrOpen();
    if (!mutex)
        return;
    const DWORD waited = WaitForSingleObject(mutex, 0);
    if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED)
        ReleaseMutex(mutex);
    CloseHandle(mutex);
}

} // namespace verify
