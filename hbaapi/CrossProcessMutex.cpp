#include "hbaapi/CrossProcessMutex.h"

namespace {
constexpr DWORD WAIT_MILLISECONDS = 10000;
}

CQelCrossProcessMutex::CQelCrossProcessMutex() : m_mutex(CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT")) {
    if (m_mutex && WaitForSingleObject(m_mutex.Get(), WAIT_MILLISECONDS) != WAIT_OBJECT_0)
        m_mutex.Reset();
}
