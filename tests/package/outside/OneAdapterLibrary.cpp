// The smallest vendor library: one adapter with a name and a port, and no lists.
#include <cstring>

#include "FcoeAgent/OrvanHbaApi.h"

namespace {

constexpr HBA_HANDLE ADAPTER = 7;
constexpr char NAME[] = "outside-0";
constexpr HBA_WWN NODE_WWN = {{0x10, 0, 0, 0, 0, 0, 0, 0x0A}};
constexpr HBA_WWN PORT_WWN = {{0x20, 0, 0, 0, 0, 0, 0, 0x0A}};

HBA_STATUS GetAdapterAttributes(HBA_HANDLE, HBA_ADAPTERATTRIBUTES* attributes) {
    *attributes = {};
    std::strcpy(attributes->Model, "Outside");
    return HBA_STATUS_OK;
}

HBA_STATUS GetAdapterPortAttributes(HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES* port) {
    *port = {};
    port->NodeWWN = NODE_WWN;
    port->PortWWN = PORT_WWN;
    port->PortSpeed = 4; // 10 Gbit/s
    port->PortState = 3; // offline, so nobody asks for DCB
    return HBA_STATUS_OK;
}

void CloseAdapter(HBA_HANDLE) {}

} // namespace

HBA_STATUS HBA_RegisterLibraryV2(HBA_ENTRYPOINTSV2* table) {
    *table = {};
    table->GetAdapterAttributesHandler = &GetAdapterAttributes;
    table->GetAdapterPortAttributesHandler = &GetAdapterPortAttributes;
    table->CloseAdapterHandler = &CloseAdapter;
    return HBA_STATUS_OK;
}

HBA_STATUS ORVAN_InitializeLibrary() {
    return HBA_STATUS_OK;
}

HBA_STATUS ORVAN_GetFCoEControllerInfo(const wchar_t*, HBA_UINT32* controller, char* name) {
    *controller = 0;
    std::strcpy(name, NAME);
    return HBA_STATUS_OK;
}

HBA_HANDLE ORVAN_GetFCoEControllerHandle(const char* name) {
    return std::strcmp(name, NAME) == 0 ? ADAPTER : HBA_HANDLE_INVALID;
}
