// The library's start, and the control export that only this module has.
#include <windows.h>

#include "simulator/control/ExportTable.h"
#include "simulator/control/SimControl.h"
#include "simulator/orvanhapi/HandleTable.h"

extern "C" {

unsigned OrvanSim_OpenHandles(void) {
    return orvanhapi::HandleTable::Instance().OpenCount();
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    // Before anyone can look an export up: the topology tells which ones are missing.
    if (reason == DLL_PROCESS_ATTACH)
        sim::HideMissingExports(module);
    return TRUE;
}

} // extern "C"
