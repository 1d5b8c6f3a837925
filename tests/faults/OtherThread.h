// A second thread that does one piece of work at a time while its owner waits. Locks that the owner's thread holds are
// no obstacle for itself; here they are.
#pragma once

#include <functional>
#include <thread>

#include <windows.h>

class OtherThread {
  public:
    OtherThread()
        : m_begin(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_done(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
          m_thread([this] { Work(); }) {}
    ~OtherThread() {
        m_work = nullptr;
        SetEvent(m_begin);
        m_thread.join();
        CloseHandle(m_begin);
        CloseHandle(m_done);
    }
    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    // work: must not throw.
    void Run(std::function<void()> work) {
        m_work = std::move(work);
        SetEvent(m_begin);
        WaitForSingleObject(m_done, INFINITE);
    }

  private:
    void Work() {
        while (WaitForSingleObject(m_begin, INFINITE) == WAIT_OBJECT_0 && m_work) {
            m_work();
            SetEvent(m_done);
        }
    }

    HANDLE m_begin, m_done;
    std::function<void()> m_work; // none: the thread ends
    std::thread m_thread;
};
