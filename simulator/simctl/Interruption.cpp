#include "simulator/simctl/Interruption.h"

#include <windows.h>

namespace simctl {
namespace {

HANDLE InterruptedEvent() {
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

BOOL WINAPI Interrupt(DWORD) {
    SetEvent(InterruptedEvent());
    return TRUE;
}

} // namespace

Interruption::Interruption() {
    ResetEvent(InterruptedEvent());
    SetConsoleCtrlHandler(Interrupt, TRUE);
}

Interruption::~Interruption() {
    SetConsoleCtrlHandler(Interrupt, FALSE);
}

bool Interruption::Await(unsigned milliseconds) const {
    return WaitForSingleObject(InterruptedEvent(), milliseconds) == WAIT_OBJECT_0;
}

} // namespace simctl
