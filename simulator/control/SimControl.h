// C99 and C++. Control of the simulated modules by a test or a host in the same process. orvanhapi.dll, CoreAgnt.dll,
// setupapi.dll and OrvanWmi.dll export these beside their real boundaries; find them with GetProcAddress in the module.
// What is said of the topology and of its faults is said to all modules of the process, and in all of them when the
// function returns; the calls are each module's own. Texts are UTF-8, and stay as long as the module is loaded.
#pragma once

#include "FcoeAgent/QelExport.h"

#ifdef __cplusplus
extern "C" {
#endif
// Simulates the topology in the text from now on; its virtual-port changes stay in this process and are forgotten with
// the next load. The DCB service shows it to this process, too. Returns what is wrong with the text, or null.
QEL_DLL_EXPORT const char* OrvanSim_LoadTopology(const char* json);
// Takes up the configured topology (environment, registry, built-in), also in place of a text, and looks at its file.
// Its faults are armed, and count anew. Returns what is wrong with it, or null.
QEL_DLL_EXPORT const char* OrvanSim_ReloadTopology(void);
// What is wrong with the topology in use, or null. While something is, every simulated function fails; unless the text
// ends with "; the last good topology stays in use".
QEL_DLL_EXPORT const char* OrvanSim_TopologyError(void);
// Lets the faults of the topology in use show themselves (not 0), each with its calls counted from 1 again, or has
// every function work as without faults. The faults of a loaded topology are armed.
QEL_DLL_EXPORT void OrvanSim_ArmFaults(int armed);

// How often a function of this module was called since the last reset; 0xFFFFFFFF: no function has that name. Handlers
// go by their names in the table without "Handler".
QEL_DLL_EXPORT unsigned OrvanSim_CallCount(const char* function);
// Forgets the counts and the recorded lines.
QEL_DLL_EXPORT void OrvanSim_ResetCalls(void);
// Starts (not 0) or stops recording one line per call in memory.
QEL_DLL_EXPORT void OrvanSim_RecordCalls(int record);
// Copies the recorded lines into the buffer, cut to its size and terminated. Returns the size that all of them need.
QEL_DLL_EXPORT unsigned OrvanSim_CallLog(char* buffer, unsigned size);

// orvanhapi.dll only: how many adapter handles were opened and not closed yet.
QEL_DLL_EXPORT unsigned OrvanSim_OpenHandles(void);

typedef const char* (*PFN_OrvanSim_LoadTopology)(const char* json);
typedef const char* (*PFN_OrvanSim_ReloadTopology)(void);
typedef const char* (*PFN_OrvanSim_TopologyError)(void);
typedef void (*PFN_OrvanSim_ArmFaults)(int armed);
typedef unsigned (*PFN_OrvanSim_CallCount)(const char* function);
typedef void (*PFN_OrvanSim_ResetCalls)(void);
typedef void (*PFN_OrvanSim_RecordCalls)(int record);
typedef unsigned (*PFN_OrvanSim_CallLog)(char* buffer, unsigned size);
typedef unsigned (*PFN_OrvanSim_OpenHandles)(void);
#ifdef __cplusplus
}
#endif
