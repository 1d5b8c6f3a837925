// Ctrl+C as the end of a wait.
#pragma once

#include <windows.h>

namespace fcoectl {

// While it lives, Ctrl+C ends the waiting instead of the process. One at a time.
class Interruption {
  public:
    Interruption() {
        s_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        SetConsoleCtrlHandler(OnControl, TRUE);
    }
    ~Interruption() {
        SetConsoleCtrlHandler(OnControl, FALSE);
        CloseHandle(s_event);
    }
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // False when the user ended it before the time was up.
    [[nodiscard]] bool Wait(double seconds) const {
        return WaitForSingleObject(s_event, static_cast<DWORD>(seconds * 1000)) == WAIT_TIMEOUT;
    }

  private:
    static BOOL WINAPI OnControl(DWORD control) {
        if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT)
            return FALSE;
        SetEvent(s_event);
        return TRUE;
    }

    static inline HANDLE s_event = nullptr;
};

} // namespace fcoectl
