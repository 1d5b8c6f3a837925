// The exports of the deviating library.
#include <cstdlib>
#include <cstring>

#include <windows.h>

#include "tests/verify/library/Real.h"

namespace {

constexpr HBA_HANDLE MOVED = 1000; // what is added to a handle at each opening

HBA_HANDLE s_moves;
HBA_HANDLE s_first; // the handle that was given first

// After the real one's list: what a deviation makes of it.
template <class List> HBA_STATUS Deviate(HBA_STATUS status, List* list, HBA_UINT32 room) {
    static HBA_UINT32 calls;
    ++calls;
    if (Is("count not written") && status == HBA_STATUS_ERROR_MORE_DATA)
        list->NumberOfEntries = room;
    if (Is("count of 0") && status == HBA_STATUS_ERROR_MORE_DATA)
        list->NumberOfEntries = 0;
    if (Is("no more data") && status == HBA_STATUS_ERROR_MORE_DATA)
        return HBA_STATUS_OK;
    if (Is("more data for ever") && status == HBA_STATUS_OK)
        return HBA_STATUS_ERROR_MORE_DATA;
    if (Is("one entry more"))
        ++list->NumberOfEntries;
    if (Is("entries in millions"))
        list->NumberOfEntries = 100'000'000;
    if (Is("count changes") && room > 1)
        --list->NumberOfEntries;
    if (Is("entries change") && room > 1)
        std::memcpy(&list->entry[0], &calls, sizeof calls);
    if (Is("all entries whatever the room"))
        std::memset(&list->entry[room], 0, sizeof list->entry[0]);
    return status;
}

} // namespace

HBA_HANDLE RealHandle(HBA_HANDLE handle) {
    if (Is("handle 0 is good") && handle == HBA_HANDLE_INVALID)
        return s_first;
    return handle % MOVED;
}

extern "C" {

HBA_STATUS HBA_RegisterLibraryV2(HBA_ENTRYPOINTSV2* table) {
    static int calls;
    *table = DeviatingTable();
    if (Is("table differs") && ++calls % 2 == 0)
        table->GetPortStatisticsHandler = Real().table.GetPortStatisticsHandler;
    if (Is("table too long"))
        table[1].GetVersionHandler = nullptr;
    return Is("registration fails") ? HBA_STATUS_ERROR : HBA_STATUS_OK;
}

HBA_STATUS ORVAN_InitializeLibrary(void) {
    static int calls;
    if (Is("initializes once") && ++calls > 1)
        return HBA_STATUS_ERROR_BUSY;
    if (Is("hangs"))
        Sleep(INFINITE);
    return Is("does not initialize") ? HBA_STATUS_ERROR : Real().initialize();
}

HBA_STATUS ORVAN_GetFCoEControllerInfo(const wchar_t* device, HBA_UINT32* controller, char name[ORVAN_NAME_SIZE]) {
    static int calls;
    if (Is("knows no adapter"))
        return HBA_STATUS_ERROR_ILLEGAL_INDEX;
    if (Is("ends the process"))
        ExitProcess(3);
    const HBA_STATUS status = Real().controllerInfo(device, controller, name);
    if (Is("name without end"))
        std::memset(name + std::strlen(name), '#', ORVAN_NAME_SIZE - std::strlen(name));
    if (Is("empty name"))
        name[0] = '\0';
    if (Is("name changes") && ++calls % 2 == 0)
        name[0] = '#';
    return status;
}

HBA_HANDLE ORVAN_GetFCoEControllerHandle(const char* name) {
    if (Is("no handle"))
        return HBA_HANDLE_INVALID;
    const HBA_HANDLE handle = Real().controllerHandle(name);
    if (s_first == HBA_HANDLE_INVALID)
        s_first = handle;
    if (Is("one handle for all"))
        return s_first;
    return Is("handle moves") ? handle + MOVED * ++s_moves : handle;
}

HBA_STATUS ORVAN_GetFCAndNICProperties(HBA_HANDLE handle, ORVAN_FC_NIC_PROPERTIES* properties) {
    if (Is("throws an int"))
        throw 5;
    ORVAN_FC_NIC_PROPERTIES elsewhere;
    if (Is("properties are not written"))
        properties = &elsewhere;
    const HBA_STATUS status = Real().properties(RealHandle(handle), properties);
    if (Is("network instance without end"))
        std::memset(properties->NetworkInstance, 'x', sizeof properties->NetworkInstance);
    return status;
}

HBA_STATUS ORVAN_GetTargetList(HBA_HANDLE handle, ORVAN_TARGET_LIST* list) {
    const HBA_UINT32 room = list->NumberOfEntries;
    if (Is("exception of another compiler"))
        RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    if (Is("target list is refused"))
        return HBA_STATUS_ERROR;
    const HBA_STATUS status = Real().targetList(RealHandle(handle), list);
    if (Is("target of no port"))
        list->entry[0].InitiatorPortWWN.wwn[7] ^= 0xFF;
    return Deviate(status, list, room);
}

HBA_STATUS ORVAN_GetVlanIdList(HBA_HANDLE handle, ORVAN_VLAN_LIST* list) {
    if (Is("slow"))
        Sleep(60);
    const HBA_STATUS status = Real().vlanList(RealHandle(handle), list);
    if (Is("one VLAN more"))
        ++list->NumberOfEntries;
    return status;
}

HBA_STATUS ORVAN_GetFCPortList(HBA_HANDLE handle, ORVAN_FC_PORT_LIST* list) {
    const HBA_UINT32 room = list->NumberOfEntries;
    const HBA_STATUS status = Real().portList(RealHandle(handle), list);
    if (Is("port of type 9"))
        list->entry[0].PortType = 9;
    if (Is("no more ports") && status == HBA_STATUS_ERROR_MORE_DATA)
        return HBA_STATUS_OK;
    if (Is("more ports for ever") && status == HBA_STATUS_OK)
        return HBA_STATUS_ERROR_MORE_DATA;
    if (Is("count of ports not written") && room == 1)
        list->NumberOfEntries = 1;
    return status;
}

HBA_STATUS ORVAN_SendReadCapacity16(HBA_HANDLE handle, HBA_WWN target, HBA_UINT64 lun, void* rsp, HBA_UINT32 rspSize,
                                    void* sense, HBA_UINT32 senseSize) {
    if (Is("capacity 16 is refused"))
        return HBA_STATUS_ERROR_NOT_SUPPORTED;
    return Real().readCapacity16(RealHandle(handle), target, lun, rsp, rspSize, sense, senseSize);
}

// Nobody who only reads calls these.
HBA_STATUS ORVAN_RescanScsiBus(HBA_HANDLE, HBA_UINT32) {
    std::abort();
}

HBA_STATUS ORVAN_GeneratePortWWN(HBA_HANDLE, HBA_WWN*) {
    std::abort();
}

HBA_STATUS ORVAN_CreateVPort(HBA_HANDLE, ORVAN_FC_PORT*) {
    std::abort();
}

HBA_STATUS ORVAN_RemoveVPort(HBA_HANDLE, ORVAN_FC_PORT*) {
    std::abort();
}

} // extern "C"
