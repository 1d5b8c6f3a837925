#include "tests/kit/StartProcess.h"

bool StartProcess(std::wstring command, bool inheritHandles, STARTUPINFOW& startup, PROCESS_INFORMATION& process) {
    constexpr int TRIES = 3;
    for (int i = 0; i < TRIES; ++i) {
        if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, inheritHandles, 0, nullptr, nullptr, &startup,
                           &process))
            return true;
        if (GetLastError() != ERROR_INTERNAL_ERROR)
            break;
    }
    return false;
}
