// The vendor library's functions, and the system's data on the adapter's device.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "tests/fuzz/Check.h"
#include "tests/fuzz/DrawnLibrary.h"
#include "tests/fuzz/native/Neighbours.h"

namespace {

DrawnLibrary& Library() {
    return DrawnLibrary::Current();
}

HBA_STATUS Status() {
    if (!Library().MayAnswer())
        return HBA_STATUS_ERROR_BUSY;
    return !Library().Families().bProperties || Library().DrawUsual() ? HBA_STATUS_OK : Library().DrawStatus();
}

// --- Handlers of the table

void CloseAdapter(HBA_HANDLE) {}

HBA_STATUS GetAdapterAttributes(HBA_HANDLE, HBA_ADAPTERATTRIBUTES* pAttributes) {
    const HBA_STATUS ulStatus = Status();
    HBA_ADAPTERATTRIBUTES& record = Library().adapterAttributes;
    record = {};
    if (Library().Families().bProperties) {
        std::memset(&record, Library().DrawByte(), sizeof record);
        Library().FillText(record.Model, sizeof record.Model);
    }
    *pAttributes = record;
    Library().bRecordsRead = Library().bRecordsRead && ulStatus == HBA_STATUS_OK;
    return ulStatus;
}

HBA_STATUS GetAdapterPortAttributes(HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES* pAttributes) {
    const HBA_STATUS ulStatus = Status();
    HBA_PORTATTRIBUTES& record = Library().portAttributes;
    record = {};
    if (Library().Families().bProperties) {
        std::memset(&record, Library().DrawByte(), sizeof record);
        Library().FillRecord(record.NodeWWN);
        Library().FillRecord(record.PortWWN);
        Library().FillRecord(record.PortFcId);
        record.PortState = Library().DrawNumber();
        record.PortSpeed = Library().DrawNumber();
    }
    *pAttributes = record;
    Library().bRecordsRead = ulStatus == HBA_STATUS_OK;
    return ulStatus;
}

HBA_STATUS GetPortStatistics(HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS* pStatistics) {
    Library().statistics = {};
    Library().FillRecord(Library().statistics);
    *pStatistics = Library().statistics;
    return Library().ulStatisticsStatus = Status();
}

HBA_STATUS GetFcpTargetMapping(HBA_HANDLE, HBA_FCPTARGETMAPPING* pList) {
    return Library().AnswerList(pList, Library().Families().bMapping, Library().vecMapping, Library().vecMappingCalls);
}

HBA_STATUS ScsiInquiry(HBA_HANDLE, HBA_WWN, HBA_UINT64, HBA_UINT8 byEvpd, HBA_UINT32, void* pResponse,
                       HBA_UINT32 ulResponseSize, void* pSense, HBA_UINT32 ulSenseSize) {
    ScsiCall call{Library().MayAnswer() ? HBA_STATUS_OK : HBA_STATUS_ERROR_BUSY, {}};
    FUZZ_CHECK(ulResponseSize == call.abyResponse.size());
    if (call.ulStatus == HBA_STATUS_OK && Library().Families().bScsi) {
        call.ulStatus = Library().DrawStatus();
        Library().FillResponse(pResponse, ulResponseSize);
        Library().FillResponse(pSense, ulSenseSize);
    }
    std::memcpy(call.abyResponse.data(), pResponse, call.abyResponse.size());
    Library().mapInquiries[byEvpd] = call;
    return call.ulStatus;
}

HBA_STATUS ScsiReadCapacityV2(HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64 ullLun, void* pResponse,
                              HBA_UINT32* pulResponseSize, HBA_UINT8* pbyScsiStatus, void* pSense,
                              HBA_UINT32* pulSenseSize) {
    ScsiCall call{Library().MayAnswer() ? HBA_STATUS_OK : HBA_STATUS_ERROR_BUSY, {}};
    FUZZ_CHECK(!pbyScsiStatus);
    const int nCalls = ++Library().mapCapacityCalls[ullLun];
    if (call.ulStatus == HBA_STATUS_OK && Library().Families().bScsi) {
        // The first call tells the room. What is written back comes back with a retry, as the library wants it.
        constexpr auto ROOM = static_cast<HBA_UINT32>(std::tuple_size_v<decltype(call.abyResponse)>);
        FUZZ_CHECK(nCalls != 1 || (*pulResponseSize == ROOM && *pulSenseSize == ROOM));
        call.ulStatus = Library().DrawStatus();
        Library().FillResponse(pResponse, std::min(*pulResponseSize, ROOM));
        Library().FillResponse(pSense, std::min(*pulSenseSize, ROOM));
        *pulResponseSize = Library().DrawNumber();
        *pulSenseSize = Library().DrawNumber();
    }
    std::memcpy(call.abyResponse.data(), pResponse, call.abyResponse.size());
    Library().mapCapacities[ullLun] = call;
    return call.ulStatus;
}

// --- Exports

HBA_STATUS RegisterLibraryV2(HBA_ENTRYPOINTSV2* pTable) {
    // The handlers' bits follow those of the exports.
    int nFunction = 16;
    const auto Put = [&](auto& pfnPlace, auto pfnHandler) {
        pfnPlace = Library().Has(nFunction++) ? pfnHandler : nullptr;
    };
    Put(pTable->CloseAdapterHandler, &CloseAdapter);
    Put(pTable->GetAdapterAttributesHandler, &GetAdapterAttributes);
    Put(pTable->GetAdapterPortAttributesHandler, &GetAdapterPortAttributes);
    Put(pTable->GetPortStatisticsHandler, &GetPortStatistics);
    Put(pTable->GetFcpTargetMappingHandler, &GetFcpTargetMapping);
    Put(pTable->ScsiInquiryHandler, &ScsiInquiry);
    Put(pTable->ScsiReadCapacityV2Handler, &ScsiReadCapacityV2);
    return HBA_STATUS_OK;
}

HBA_STATUS InitializeLibrary() {
    return !Library().Families().bBinding || Library().DrawUsual() ? HBA_STATUS_OK : Library().DrawStatus();
}

HBA_STATUS GetFCoEControllerInfo(const wchar_t*, HBA_UINT32* pulController, char* pszName) {
    if (!Library().Families().bBinding) {
        std::strcpy(pszName, "orvan-fcoe-0");
        return HBA_STATUS_OK;
    }
    *pulController = Library().DrawNumber();
    Library().FillText(pszName, ORVAN_NAME_SIZE);
    return Library().DrawUsual() ? HBA_STATUS_OK : Library().DrawStatus();
}

HBA_HANDLE GetFCoEControllerHandle(const char* pszName) {
    FUZZ_CHECK(strnlen(pszName, ORVAN_NAME_SIZE) < ORVAN_NAME_SIZE);
    return !Library().Families().bBinding || Library().DrawUsual() ? 7 : Library().DrawNumber();
}

HBA_STATUS GetFCAndNICProperties(HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES* pProperties) {
    ORVAN_FC_NIC_PROPERTIES& record = Library().properties;
    record = {};
    if (Library().Families().bProperties) {
        std::memset(&record, Library().DrawByte(), sizeof record);
        Library().FillText(record.NetworkInstance, sizeof record.NetworkInstance, "\\DEVICE\\{");
    }
    *pProperties = record;
    return Status();
}

HBA_STATUS GetTargetList(HBA_HANDLE, ORVAN_TARGET_LIST* pList) {
    return Library().AnswerList(pList, Library().Families().bTargets, Library().vecTargets, Library().vecTargetCalls);
}

HBA_STATUS GetVlanIdList(HBA_HANDLE, ORVAN_VLAN_LIST* pList) {
    return Library().AnswerList(pList, Library().Families().bVlans, Library().vecVlans, Library().vecVlanCalls);
}

HBA_STATUS GetFCPortList(HBA_HANDLE, ORVAN_FC_PORT_LIST* pList) {
    return Library().AnswerList(pList, Library().Families().bPorts, Library().vecPorts, Library().vecPortCalls);
}

HBA_STATUS SendReadCapacity16(HBA_HANDLE, HBA_WWN, HBA_UINT64, void* pResponse, HBA_UINT32 ulResponseSize, void* pSense,
                              HBA_UINT32 ulSenseSize) {
    Library().FillResponse(pResponse, ulResponseSize);
    Library().FillResponse(pSense, ulSenseSize);
    return Library().DrawStatus();
}

HBA_STATUS RescanScsiBus(HBA_HANDLE, HBA_UINT32) {
    return Status();
}

HBA_STATUS GeneratePortWWN(HBA_HANDLE, HBA_WWN* pWwpn) {
    *pWwpn = Library().DrawWwn();
    return Status();
}

HBA_STATUS ChangeVPort(HBA_HANDLE, ORVAN_FC_PORT* pRequest) {
    Library().FillRecord(*pRequest);
    return Status();
}

template <class F> FARPROC Export(F pfn) {
    return reinterpret_cast<FARPROC>(pfn);
}

struct EXPORT {
    std::string_view strName;
    FARPROC pfn;
};

const EXPORT EXPORTS[] = {
    {"HBA_RegisterLibraryV2", Export(&RegisterLibraryV2)},
    {"ORVAN_InitializeLibrary", Export(&InitializeLibrary)},
    {"ORVAN_GetFCoEControllerInfo", Export(&GetFCoEControllerInfo)},
    {"ORVAN_GetFCoEControllerHandle", Export(&GetFCoEControllerHandle)},
    {"ORVAN_GetFCAndNICProperties", Export(&GetFCAndNICProperties)},
    {"ORVAN_GetTargetList", Export(&GetTargetList)},
    {"ORVAN_GetVlanIdList", Export(&GetVlanIdList)},
    {"ORVAN_SendReadCapacity16", Export(&SendReadCapacity16)},
    {"ORVAN_RescanScsiBus", Export(&RescanScsiBus)},
    {"ORVAN_GeneratePortWWN", Export(&GeneratePortWWN)},
    {"ORVAN_CreateVPort", Export(&ChangeVPort)},
    {"ORVAN_RemoveVPort", Export(&ChangeVPort)},
    {"ORVAN_GetFCPortList", Export(&GetFCPortList)},
};

} // namespace

FARPROC native::LibraryFunction(const char* pszName) {
    const auto pFound = std::ranges::find(EXPORTS, std::string_view(pszName), &EXPORT::strName);
    FUZZ_CHECK(pFound != std::end(EXPORTS));
    return Library().Has(static_cast<int>(pFound - EXPORTS)) ? pFound->pfn : nullptr;
}

bool native::MutexIsFree() {
    return !Library().Families().bBinding || Library().DrawUsual();
}

// --- The system's data on the adapter's device

bool native::DeviceExists(DWORD dwIndex) {
    return Library().Families().bProperties && dwIndex < 4 && Library().DrawByte() < 0x80;
}

bool native::DeviceHasKey() {
    return Library().DrawUsual();
}

bool native::ReadDeviceText(std::vector<wchar_t>& vecText) {
    // The library's own text, so that the device is found, or any other; either may lack its terminator.
    const ORVAN_FC_NIC_PROPERTIES& properties = Library().properties;
    std::string strText(properties.NetworkInstance, strnlen(properties.NetworkInstance, ORVAN_NAME_SIZE));
    strText.erase(0, std::min(strText.find('{'), strText.size()));
    const HBA_UINT8 byKind = Library().DrawByte();
    if (byKind >= 0x80)
        strText = Library().DrawText(520);
    for (const char ch : strText)
        vecText.push_back(static_cast<unsigned char>(ch));
    if (byKind % 2 == 0)
        vecText.push_back(L'\0');
    return byKind != 0xFF;
}

bool native::ReadDeviceNumber(DWORD& dwNumber) {
    dwNumber = Library().DrawNumber();
    return Library().DrawUsual();
}
