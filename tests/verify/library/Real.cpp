#include "tests/verify/library/Real.h"

#include <cstring>

#include <windows.h>

#include "tests/kit/FindFunction.h"

namespace {

HMODULE s_real;

struct Wanted {
    Wanted() { GetEnvironmentVariableA("VERIFY_DEVIATION", name, sizeof name); }
    char name[64] = "";
};
const Wanted s_wanted;

RealLibrary Load() {
    s_real = LoadLibraryW(L"orvanhapi.dll");
    RealLibrary real{
        NEED_FUNCTION(s_real, HBA_RegisterLibraryV2),       NEED_FUNCTION(s_real, ORVAN_InitializeLibrary),
        NEED_FUNCTION(s_real, ORVAN_GetFCoEControllerInfo), NEED_FUNCTION(s_real, ORVAN_GetFCoEControllerHandle),
        NEED_FUNCTION(s_real, ORVAN_GetFCAndNICProperties), NEED_FUNCTION(s_real, ORVAN_GetTargetList),
        NEED_FUNCTION(s_real, ORVAN_GetVlanIdList),         NEED_FUNCTION(s_real, ORVAN_SendReadCapacity16),
        NEED_FUNCTION(s_real, ORVAN_GetFCPortList),         {}};
    real.registerLibrary(&real.table);
    return real;
}

} // namespace

bool Is(std::string_view deviation) {
    return deviation == s_wanted.name;
}

const RealLibrary& Real() {
    static const RealLibrary real = Load();
    return real;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH)
        return !Is("refuses to load");
    if (reason == DLL_PROCESS_DETACH && !processEnds && s_real)
        FreeLibrary(s_real);
    return TRUE;
}
