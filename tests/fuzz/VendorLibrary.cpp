#include "tests/fuzz/VendorLibrary.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "tests/fuzz/Check.h"
#include "tests/fuzz/native/Neighbours.h"

namespace {

VendorLibrary* g_pCurrent;

// Most bytes choose the usual; the last few choose what the input says.
constexpr HBA_UINT8 FIRST_UNUSUAL = 0xF0;

// Lists are that long at most, or so long that no memory is to be had for them.
constexpr HBA_UINT32 LONGEST_LIST = 24;
constexpr HBA_UINT32 ENDLESS_COUNTS[] = {
    0x00FFFFFF,           0x03FFFFFF,           0x04000000, 0x1FFFFFFF, 0x20000000, 0x7FFFFFFF, 0x80000000,
    0xFFFFFFFF / 304 + 1, 0xFFFFFFFF / 304 + 2, 0x05D1745E, 0x05D1745D, 0xFFFFFFFE, 0xFFFFFFFF,
};

// An identifier is most of the time one of four.
void Tame(HBA_WWN& wwn) {
    if (wwn.wwn[0] < FIRST_UNUSUAL)
        wwn = UsualWwn(wwn.wwn[0] & 3);
}

// A number is half of the time 0 or 1.
template <class Number> void Tame(Number& number) {
    if (number >> (8 * sizeof number - 1) == 0)
        number &= 1;
}

// A port type is most of the time one that has a meaning.
void TamePortType(HBA_UINT8& byType) {
    if (byType < FIRST_UNUSUAL)
        byType &= 3;
}

// Every byte of the room is the library's to write.
void Touch(void* pRoom, HBA_UINT32 ulSize) {
    volatile auto* const pby = static_cast<HBA_UINT8*>(pRoom);
    if (ulSize != 0) {
        pby[0] = pby[0];
        pby[ulSize - 1] = pby[ulSize - 1];
    }
}

} // namespace

HBA_WWN UsualWwn(unsigned uNumber) {
    return {{0x20, 0x01, 0x00, 0x11, 0x22, 0x33, 0x44, static_cast<HBA_UINT8>(uNumber)}};
}

VendorLibrary::VendorLibrary(FuzzedDataProvider& input, const FuzzedFamilies& families)
    : m_input(input), m_families(families) {
    FUZZ_CHECK(!g_pCurrent);
    g_pCurrent = this;
    if (families.bBinding && !DrawUsual())
        m_ulMissing = m_input.ConsumeIntegral<HBA_UINT32>();
}

VendorLibrary::~VendorLibrary() {
    g_pCurrent = nullptr;
}

VendorLibrary& VendorLibrary::Current() {
    FUZZ_CHECK(g_pCurrent);
    return *g_pCurrent;
}

bool VendorLibrary::DrawUsual() {
    return DrawByte() < FIRST_UNUSUAL;
}

HBA_UINT32 VendorLibrary::DrawNumber() {
    const HBA_UINT8 byKind = DrawByte();
    return byKind < FIRST_UNUSUAL ? byKind & 7 : m_input.ConsumeIntegral<HBA_UINT32>();
}

HBA_STATUS VendorLibrary::DrawStatus() {
    constexpr HBA_STATUS STATUSES[] = {HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_ERROR_MORE_DATA,
                                       HBA_STATUS_ERROR_MORE_DATA,
                                       HBA_STATUS_SCSI_CHECK_CONDITION,
                                       HBA_STATUS_ERROR,
                                       HBA_STATUS_ERROR_AMBIGUOUS_WWN,
                                       HBA_STATUS_ERROR_LOCAL_BUS,
                                       0xFFFFFFFF};
    return m_input.PickValueInArray(STATUSES);
}

HBA_UINT32 VendorLibrary::DrawCount(HBA_UINT32 ulRoom) {
    const HBA_UINT8 byKind = DrawByte();
    if (byKind < 0x40)
        return ulRoom;
    if (byKind < 0x50)
        return ulRoom + 1;
    if (byKind < FIRST_UNUSUAL)
        return byKind % (LONGEST_LIST + 1);
    return m_input.PickValueInArray(ENDLESS_COUNTS);
}

std::string VendorLibrary::DrawText(std::size_t nMaximum) {
    return m_input.ConsumeBytesAsString(m_input.ConsumeIntegralInRange<std::size_t>(0, nMaximum));
}

HBA_WWN VendorLibrary::DrawWwn() {
    HBA_WWN wwn{};
    m_input.ConsumeData(&wwn, sizeof wwn);
    Tame(wwn);
    return wwn;
}

// A text of any length up to its array's, without a terminator when what follows it is no null.
void VendorLibrary::FillText(char* pszText, std::size_t nSize, std::string_view strStart) {
    const HBA_UINT8 byKind = DrawByte();
    std::memset(pszText, byKind < FIRST_UNUSUAL ? 0 : byKind, nSize);
    std::string strText(DrawUsual() ? strStart : std::string_view());
    strText += DrawText(nSize - strText.size());
    std::ranges::copy(strText, pszText);
}

void VendorLibrary::FillResponse(void* pResponse, HBA_UINT32 ulRoom) {
    Touch(pResponse, ulRoom);
    const std::string strBytes = DrawText(ulRoom);
    std::memcpy(pResponse, strBytes.data(), strBytes.size());
}

void VendorLibrary::Draw(ORVAN_FC_PORT& port) {
    FillRecord(port);
    TamePortType(port.PortType);
    Tame(port.PortWWN);
    Tame(port.WordB);
    Tame(port.Word56);
}

void VendorLibrary::Draw(ORVAN_TARGET_ENTRY& target) {
    FillRecord(target);
    TamePortType(target.InitiatorPortType);
    Tame(target.InitiatorPortWWN);
    Tame(target.FcId);
}

void VendorLibrary::Draw(HBA_FCPSCSIENTRY& unit) {
    FillText(unit.ScsiId.OSDeviceName, sizeof unit.ScsiId.OSDeviceName);
    FillRecord(unit.ScsiId.ScsiBusNumber);
    FillRecord(unit.ScsiId.ScsiTargetNumber);
    FillRecord(unit.ScsiId.ScsiOSLun);
    FillRecord(unit.FcpId);
    Tame(unit.ScsiId.ScsiBusNumber);
    Tame(unit.ScsiId.ScsiTargetNumber);
    Tame(unit.FcpId.FcId);
    Tame(unit.FcpId.PortWWN);
}

void VendorLibrary::Draw(HBA_UINT32& ulVlan) {
    FillRecord(ulVlan);
}

template <class List, class Entry>
HBA_STATUS VendorLibrary::AnswerList(List* pList, bool bFuzzed, const std::vector<Entry>& vecExisting,
                                     std::vector<ListCall<Entry>>& vecCalls) {
    const HBA_UINT32 ulRoom = pList->NumberOfEntries;
    // No caller has room for a count that takes more memory than there is.
    FUZZ_CHECK(ulRoom <= LONGEST_LIST + 1);
    ListCall<Entry> call{HBA_STATUS_ERROR_BUSY, ulRoom, ulRoom, std::vector<Entry>(ulRoom)};
    auto* const pEntries = reinterpret_cast<HBA_UINT8*>(pList) + offsetof(List, entry);
    if (MayAnswer()) {
        if (bFuzzed) {
            for (Entry& entry : call.vecEntries)
                Draw(entry);
            call.ulStatus = DrawStatus();
            call.ulCount = DrawCount(ulRoom);
        } else {
            std::copy_n(vecExisting.begin(), std::min<std::size_t>(ulRoom, vecExisting.size()),
                        call.vecEntries.begin());
            call.ulStatus = vecExisting.size() > ulRoom ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
            call.ulCount = static_cast<HBA_UINT32>(vecExisting.size());
        }
    }
    if (ulRoom != 0)
        std::memcpy(pEntries, call.vecEntries.data(), ulRoom * sizeof(Entry));
    pList->NumberOfEntries = call.ulCount;
    vecCalls.push_back(call);
    return call.ulStatus;
}

namespace {

VendorLibrary& Library() {
    return VendorLibrary::Current();
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
        FUZZ_CHECK(nCalls % 4 != 1 || (*pulResponseSize == ROOM && *pulSenseSize == ROOM) ||
                   Library().mapCapacities[ullLun].ulStatus == HBA_STATUS_SCSI_CHECK_CONDITION);
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
