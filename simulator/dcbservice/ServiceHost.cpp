#include "simulator/dcbservice/ServiceHost.h"

#include "simulator/dcbservice/ClassServer.h"
#include "simulator/dcbservice/Crash.h"

namespace {

// The process is one service: these are the service's.
SERVICE_STATUS_HANDLE g_status;
HANDLE g_stop;

constexpr DWORD STOP_LIMIT = 5000; // milliseconds, as the manager is told

void Report(DWORD state, DWORD exitCode = NO_ERROR) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    status.dwWin32ExitCode = exitCode;
    if (state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING) {
        status.dwCheckPoint = 1;
        status.dwWaitHint = STOP_LIMIT;
    }
    SetServiceStatus(g_status, &status);
}

DWORD WINAPI OnControl(DWORD control, DWORD, void*, void*) {
    switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
        Report(SERVICE_STOP_PENDING);
        SetEvent(g_stop);
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
        return NO_ERROR;
    default:
        return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI Serve(DWORD, wchar_t**) {
    g_status = RegisterServiceCtrlHandlerExW(SERVICE_NAME, OnControl, nullptr);
    if (!g_status)
        return;
    Report(SERVICE_START_PENDING);
    AtCrash([] { Report(SERVICE_STOPPED, ERROR_PROCESS_ABORTED); });
    HRESULT result;
    {
        const ClassServer server;
        result = server.Result();
        if (SUCCEEDED(result)) {
            Report(SERVICE_RUNNING);
            WaitForSingleObject(g_stop, INFINITE);
        }
    }
    // Last of all: the process may be gone as soon as the manager knows.
    Report(SERVICE_STOPPED, SUCCEEDED(result) ? NO_ERROR : static_cast<DWORD>(result));
}

} // namespace

DWORD RunService() {
    g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!g_stop)
        return GetLastError();
    wchar_t name[ARRAYSIZE(SERVICE_NAME)];
    wcscpy(name, SERVICE_NAME);
    const SERVICE_TABLE_ENTRYW services[] = {{name, Serve}, {nullptr, nullptr}};
    const DWORD error = StartServiceCtrlDispatcherW(services) ? NO_ERROR : GetLastError();
    CloseHandle(g_stop);
    return error;
}
