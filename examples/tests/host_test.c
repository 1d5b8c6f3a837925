/* A host's own test on the simulated suite, in C: it starts a world, changes it, injects a fault, and checks what the
 * host makes of each. Only the function CountLuns belongs to the host.
 *
 * Run: beside FcoeAgntC.dll and the suite's modules, once setup.cmd has set the suite up; docs/simulator.md tells more.
 */
#include <stdio.h>
#include <string.h>

#include <windows.h>

#include "FcoeAgent/SimControl.h"
#include "FcoeAgent/fcoe_agent.h"

/* How many LUNs there are; -1: nobody knows, since something could not be read. */
static int CountLuns(fcoe_session* session) {
    fcoe_list* luns;
    const fcoe_status status = fcoe_enumerate(session, FCOE_LUNS, NULL, 0, &luns, NULL);
    const int count = status == FCOE_OK ? (int)fcoe_list_count(luns) : -1;
    fcoe_list_free(luns);
    return count;
}

#define WORLD(luns, rest)                                                                                              \
    "{\"adapters\": [{\"identifier\": \"{00000000-0000-4000-8000-00000000000A}\", \"mac\": \"02:05:7C:00:00:0A\","     \
    "\"port\": {\"node_wwn\": \"20:00:02:05:7C:00:00:0A\", \"port_wwn\": \"20:01:02:05:7C:00:00:0A\"},"                \
    "\"targets\": [{\"port_wwn\": \"50:06:02:6B:00:00:00:01\", \"luns\": [" luns "]}]}]" rest "}"

static int Expect(PFN_OrvanSim_LoadTopology load, fcoe_session* session, const char* what, const char* world,
                  int luns) {
    const char* const wrong = load(world);
    int seen;
    Sleep(20); /* the agent answers from what it has read for ten milliseconds */
    seen = CountLuns(session);
    printf("%s: %s: %d\n", !wrong && seen == luns ? "passed" : "FAILED", what, seen);
    if (wrong)
        printf("  %s\n", wrong);
    return wrong || seen != luns;
}

int main(void) {
    fcoe_session* session;
    fcoe_char* message;
    HMODULE library;
    PFN_OrvanSim_LoadTopology load = NULL;
    int failures = 0;
    if (fcoe_open(NULL, 0, &session, &message) != FCOE_OK) {
        fprintf(stderr, "%ls\n", message);
        fcoe_free(message);
        return 2;
    }
    /* The library that the agent has loaded. */
    library = GetModuleHandleW(L"orvanhapi.dll");
    if (library) {
        const FARPROC function = GetProcAddress(library, "OrvanSim_LoadTopology");
        memcpy(&load, &function, sizeof load);
    }
    if (!load) {
        fputs("The HBA library is not the simulated one.\n", stderr);
        fcoe_close(session);
        return 2;
    }
    failures += Expect(load, session, "a target's LUNs are counted", WORLD("{}, {}", ""), 2);
    failures += Expect(load, session, "a LUN that appears is counted", WORLD("{}, {}, {}", ""), 3);
    failures += Expect(load, session, "a target list that fails is not taken for an empty one",
                       WORLD("{}, {}", ", \"faults\": [{\"function\": \"ORVAN_GetTargetList\", \"status\": 1}]"), -1);
    failures += Expect(load, session, "once it answers again, so does the host", WORLD("{}, {}", ""), 2);
    fcoe_close(session);
    return failures ? 1 : 0;
}
