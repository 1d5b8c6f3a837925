#include "capi/AgentThread.h"

#include <process.h>

#include <windows.h>

#include <objbase.h>

namespace capi {
namespace {

struct Start {
    void (*function)(void* argument);
    void* argument;
};

unsigned __stdcall Run(void* start) {
    const Start& asked = *static_cast<Start*>(start);
    asked.function(asked.argument);
    return 0;
}

} // namespace

bool IsSingleThreaded() noexcept {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    if (FAILED(CoGetApartmentType(&type, &qualifier)))
        return false; // in none
    return type == APTTYPE_STA || type == APTTYPE_MAINSTA ||
           (type == APTTYPE_NA &&
            (qualifier == APTTYPEQUALIFIER_NA_ON_STA || qualifier == APTTYPEQUALIFIER_NA_ON_MAINSTA));
}

bool RunInOwnThread(void (*function)(void* argument), void* argument) noexcept {
    Start start{function, argument};
    const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Run, &start, 0, nullptr));
    if (!thread)
        return false;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return true;
}

} // namespace capi
