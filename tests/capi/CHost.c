/* A whole host in C99, with every function of the interface. */
#include "tests/capi/CHost.h"

#include <stddef.h>

#include "FcoeAgent/fcoe_agent.h"

static fcoe_char g_adapter[64];

static int Copy(fcoe_char* to, const fcoe_char* from, size_t units) {
    size_t i = 0;
    for (; i + 1 < units && from[i] != 0; ++i)
        to[i] = from[i];
    to[i] = 0;
    return from[i] == 0;
}

/* Every record is read wholly, through the types of the header. */
static int IsGood(const fcoe_char* text) {
    return text != NULL;
}

static const char* CheckRecord(fcoe_kind kind, const void* record) {
    switch (kind) {
    case FCOE_HBAS: {
        const fcoe_hba* hba = (const fcoe_hba*)record;
        if (hba->size != sizeof *hba || !IsGood(hba->type) || !IsGood(hba->model))
            return "an adapter";
        return Copy(g_adapter, hba->device_id, 64) ? NULL : "an identifier";
    }
    case FCOE_FABRICS: {
        const fcoe_fabric* fabric = (const fcoe_fabric*)record;
        return fabric->size == sizeof *fabric && IsGood(fabric->kind) && fabric->kind_code < 2 ? NULL : "a fabric";
    }
    case FCOE_PORTS: {
        const fcoe_port* port = (const fcoe_port*)record;
        return port->size == sizeof *port && IsGood(port->fabric_name) ? NULL : "a port";
    }
    case FCOE_TARGETS: {
        const fcoe_target* target = (const fcoe_target*)record;
        return target->size == sizeof *target && IsGood(target->vendor) && target->initiator_port_bytes[0] != 0
                   ? NULL
                   : "a target";
    }
    case FCOE_LUNS: {
        const fcoe_lun* lun = (const fcoe_lun*)record;
        return lun->size == sizeof *lun && IsGood(lun->capacity) ? NULL : "a LUN";
    }
    case FCOE_VLANS: {
        const fcoe_vlan* vlan = (const fcoe_vlan*)record;
        return vlan->size == sizeof *vlan && vlan->vlan_id != 0 && IsGood(vlan->state) ? NULL : "a VLAN";
    }
    default: {
        const fcoe_statistic* statistic = (const fcoe_statistic*)record;
        return statistic->size == sizeof *statistic && IsGood(statistic->label) ? NULL : "a counter";
    }
    }
}

static const char* List(fcoe_session* session, fcoe_kind kind) {
    fcoe_list* list = NULL;
    fcoe_char* message = NULL;
    char* json = NULL;
    const char* wrong = NULL;
    uint32_t i;
    if (fcoe_enumerate(session, kind, NULL, 0, &list, &message) != FCOE_OK || message != NULL)
        return "fcoe_enumerate";
    if (fcoe_list_count(list) == 0)
        wrong = "an empty list";
    for (i = 0; i < fcoe_list_count(list) && wrong == NULL; ++i)
        wrong = CheckRecord(kind, fcoe_list_at(list, i));
    if (fcoe_list_at(list, fcoe_list_count(list)) != NULL)
        wrong = "a record past the end";
    fcoe_list_free(list);
    if (fcoe_enumerate_json(session, kind, NULL, 0, &json, NULL) != FCOE_OK || json[0] != '{')
        wrong = "fcoe_enumerate_json";
    fcoe_free(json);
    return wrong;
}

static const char* Change(fcoe_session* session) {
    fcoe_char wwpn[24] = {'A', 'u', 't', 'o', 0};
    fcoe_list* errors = NULL;
    fcoe_char* message = NULL;
    const char* wrong = NULL;
    const fcoe_error* error;
    if (fcoe_generate_wwpn(session, g_adapter, wwpn, NULL) != FCOE_OK || wwpn[23] != 0 || wwpn[22] == 0)
        return "fcoe_generate_wwpn";
    if (fcoe_vport_create(session, g_adapter, wwpn, 5, NULL, NULL) != FCOE_OK)
        return "fcoe_vport_create";
    if (fcoe_vport_create(session, g_adapter, wwpn, 5, &errors, &message) != FCOE_REFUSED || message == NULL)
        wrong = "a port that is there already";
    error = (const fcoe_error*)fcoe_list_at(errors, 0);
    if (error == NULL || error->size != sizeof *error || error->code != 0x370000CD || error->argument_count != 0 ||
        error->arguments == NULL)
        wrong = "its error";
    fcoe_list_free(errors);
    fcoe_free(message);
    if (fcoe_vport_delete(session, g_adapter, wwpn, 5, NULL, NULL) != FCOE_OK)
        wrong = "fcoe_vport_delete";
    if (fcoe_refresh_targets(session, g_adapter, NULL) != FCOE_OK)
        wrong = "fcoe_refresh_targets";
    return wrong;
}

const char* RunCHost(void) {
    fcoe_session* session = NULL;
    const char* wrong = NULL;
    fcoe_kind kind;
    if (fcoe_api_version() >> 16 != FCOE_API_VERSION_MAJOR || fcoe_status_text(FCOE_OK)[0] == 0)
        return "the version";
    if (fcoe_open(NULL, 0, &session, NULL) != FCOE_OK)
        return "fcoe_open";
    for (kind = FCOE_HBAS; kind <= FCOE_STATISTICS && wrong == NULL; ++kind)
        wrong = List(session, kind);
    if (wrong == NULL)
        wrong = Change(session);
    fcoe_close(session);
    return wrong;
}
