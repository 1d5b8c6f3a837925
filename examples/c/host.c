/* A small complete host in C99: prints the FCoE adapters with their LUNs, and creates and deletes a virtual port.
 *
 * Build: find_package(FcoeAgent) and FcoeAgent::C, or pkg-config fcoe-agent-c; docs/c-interface.md tells more.
 * Run: beside FcoeAgntC.dll, the agent registered, see docs/registry.md.
 */
#include <stdio.h>

#include "FcoeAgent/fcoe_agent.h"

/* Says how a call ended, and gives the message back. */
static int Say(FILE* to, fcoe_status status, fcoe_char* message) {
    fprintf(to, "%s: %ls\n", status == FCOE_REFUSED ? "refused" : "not done",
            message ? message : fcoe_status_text(status));
    fcoe_free(message);
    return status;
}

static int PrintLuns(fcoe_session* session, const fcoe_char* adapter) {
    fcoe_list* luns;
    fcoe_char* message;
    const fcoe_status status = fcoe_enumerate(session, FCOE_LUNS, adapter, 0, &luns, &message);
    uint32_t i;
    for (i = 0; i < fcoe_list_count(luns); ++i) {
        const fcoe_lun* lun = fcoe_list_at(luns, i);
        printf("  LUN %u  %ls  %ls\n", (unsigned)lun->os_lun, lun->capacity, lun->os_device_name);
    }
    fcoe_list_free(luns);
    return status == FCOE_OK ? FCOE_OK : Say(stderr, status, message);
}

static int ChangePorts(fcoe_session* session, const fcoe_char* adapter) {
    fcoe_char wwpn[24] = L"Auto"; /* the agent has a name generated */
    fcoe_char* message;
    fcoe_status status = fcoe_vport_create(session, adapter, wwpn, 1, NULL, &message);
    if (status != FCOE_OK)
        return Say(stdout, status, message);
    printf("created %ls\n", wwpn);
    status = fcoe_vport_delete(session, adapter, wwpn, 1, NULL, &message);
    if (status != FCOE_OK)
        return Say(stdout, status, message);
    printf("deleted %ls\n", wwpn);
    /* Once more, to show what a refusal looks like. */
    status = fcoe_vport_delete(session, adapter, wwpn, 1, NULL, &message);
    if (status != FCOE_OK)
        Say(stdout, status, message);
    return FCOE_OK;
}

static int PrintAdapters(fcoe_session* session) {
    fcoe_list* hbas;
    fcoe_char* message;
    int result = fcoe_enumerate(session, FCOE_HBAS, NULL, 0, &hbas, &message); /* of all adapters */
    uint32_t i;
    if (result != FCOE_OK)
        Say(stderr, result, message);
    for (i = 0; i < fcoe_list_count(hbas); ++i) {
        const fcoe_hba* hba = fcoe_list_at(hbas, i);
        int luns;
        printf("%ls  %ls  %ls\n", hba->second_id, hba->port_wwn, hba->fcoe_link_status);
        luns = PrintLuns(session, hba->device_id);
        if (luns != FCOE_OK)
            result = luns;
    }
    if (result == FCOE_OK && fcoe_list_count(hbas) > 0)
        result = ChangePorts(session, ((const fcoe_hba*)fcoe_list_at(hbas, 0))->device_id);
    fcoe_list_free(hbas);
    return result;
}

int main(void) {
    fcoe_session* session;
    fcoe_char* message;
    int result = fcoe_open(NULL, 0, &session, &message); /* the registered agent */
    if (result != FCOE_OK)
        return -Say(stderr, result, message);
    result = PrintAdapters(session);
    fcoe_close(session);
    return result < 0 ? -result : result;
}
