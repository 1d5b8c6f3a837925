// What a host in C99 sees.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Opens a session of the registered agent, lists every kind, asks for JSON, generates a name, creates and deletes a
// port and rescans. Null when all of it went as told; else the step that did not.
const char* RunCHost(void);

#ifdef __cplusplus
}
#endif
