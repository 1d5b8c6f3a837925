#include "hbaapi/CrossProcessMutex.h"

namespace {

constexpr wchar_t MUTEX_NAME[] = L"Global\\CHBAAPINTMUT";
constexpr DWORD WAIT_MILLISECONDS = 10000;

// Creating one that is there asks for all that can be done with it, which the account that made it may not allow
// others. Waiting is all that is needed, and the owner may give it back whatever its handle allows.
HANDLE CreateOrOpen() {
    const HANDLE hMutex = CreateMutexW(nullptr, FALSE, MUTEX_NAME);
    if (hMutex || GetLastError() != ERROR_ACCESS_DENIED)
        return hMutex;
    return OpenMutexW(SYNCHRONIZE, FALSE, MUTEX_NAME);
}

} // namespace

CQelCrossProcessMutex::CQelCrossProcessMutex() : m_mutex(CreateOrOpen()) {
    if (m_mutex && WaitForSingleObject(m_mutex.Get(), WAIT_MILLISECONDS) != WAIT_OBJECT_0)
        m_mutex.Reset();
}
