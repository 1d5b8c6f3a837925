// The core agent module's start and its export.
#include <windows.h>

#include "FcoeAgent/QelExport.h"
#include "simulator/control/Call.h"
#include "simulator/control/ExportTable.h"
#include "simulator/coreagent/CoreAgent.h"

extern "C" {

ICoreAgentPvt* GetCoreAgentPvt() {
    static coreagent::CoreAgent coreAgent;
    sim::Call call("GetCoreAgentPvt");
    return call.Status() ? nullptr : &coreAgent;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    // Before anyone can look the export up: the topology may say that it is missing.
    if (reason == DLL_PROCESS_ATTACH)
        sim::HideMissingExports(module);
    return TRUE;
}

} // extern "C"
