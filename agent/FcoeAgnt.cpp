// The module: the agent object and the export that yields it.
#include <windows.h>

#include "Common/Src/ProcessExit.h"
#include "agent/FcoeAgentWin.h"

namespace {

// Built when the module is loaded, destroyed when it is unloaded.
CQelLeftAtProcessEnd<CQelFcoeAgentWin> g_agent;

} // namespace

extern "C" CQelFcoeAgentIntf* GetFcoeAgent() {
    CQelFcoeAgentWin& agent = g_agent.Get();
    return agent.Initialize() ? &agent : nullptr;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, void* pReserved) {
    // With the process, not by FreeLibrary. Static objects are destroyed after this.
    if (dwReason == DLL_PROCESS_DETACH && pReserved)
        MarkProcessTerminating();
    return TRUE;
}
