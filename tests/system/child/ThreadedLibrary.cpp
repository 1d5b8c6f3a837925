// A vendor library with a thread of its own, which lives from the opening of the adapter to its closing: closing tells
// it to end and waits until it has. A thread that ends takes the loader's lock, which FreeLibrary holds.
//
// The event that the environment variable FCOE_CHILD_STOPPING names is set once the thread has been told to end.
#include <cstring>
#include <iterator>

#include <windows.h>

#include "FcoeAgent/OrvanHbaApi.h"

namespace {

HANDLE g_thread, g_stop;

DWORD WINAPI Work(void* started) {
    SetEvent(started);
    WaitForSingleObject(g_stop, INFINITE);
    return 0;
}

void Close(HBA_HANDLE) {
    SetEvent(g_stop);
    wchar_t name[64];
    if (GetEnvironmentVariableW(L"FCOE_CHILD_STOPPING", name, std::size(name)) != 0)
        if (const HANDLE stopping = OpenEventW(EVENT_MODIFY_STATE, FALSE, name)) {
            SetEvent(stopping);
            CloseHandle(stopping);
        }
    WaitForSingleObject(g_thread, INFINITE);
    CloseHandle(g_thread);
    CloseHandle(g_stop);
}

} // namespace

HBA_STATUS HBA_RegisterLibraryV2(HBA_ENTRYPOINTSV2* table) {
    *table = {};
    table->CloseAdapterHandler = &Close;
    return HBA_STATUS_OK;
}

HBA_STATUS ORVAN_InitializeLibrary() {
    return HBA_STATUS_OK;
}

HBA_STATUS ORVAN_GetFCoEControllerInfo(const wchar_t*, HBA_UINT32* controller, char* name) {
    *controller = 1;
    std::strcpy(name, "threaded");
    return HBA_STATUS_OK;
}

HBA_HANDLE ORVAN_GetFCoEControllerHandle(const char*) {
    g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    g_thread = CreateThread(nullptr, 0, &Work, started, 0, nullptr);
    WaitForSingleObject(started, INFINITE);
    CloseHandle(started);
    return 1;
}
