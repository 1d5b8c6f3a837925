#include "bench/Floor.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "bench/FindFunction.h"
#include "bench/Topology.h"

namespace {

const wchar_t SECOND_ID[] = L"Bench";

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T> using Buffer = std::unique_ptr<T, Free>;
template <class T> Buffer<T> Allocate(std::size_t bytes) {
    return Buffer<T>(static_cast<T*>(std::calloc(1, bytes)));
}

void Wwn(CQelString& text, const HBA_WWN& wwn) {
    static const wchar_t digits[] = L"0123456789ABCDEF";
    wchar_t buffer[23];
    for (int i = 0; i < 8; ++i) {
        buffer[3 * i] = digits[wwn.wwn[i] >> 4];
        buffer[3 * i + 1] = digits[wwn.wwn[i] & 15];
        if (i < 7)
            buffer[3 * i + 2] = L':';
    }
    text.assign(buffer, std::size(buffer));
}

void Wide(CQelString& text, const char* narrow) {
    wchar_t buffer[260];
    const int length = MultiByteToWideChar(CP_ACP, 0, narrow, -1, buffer, 260);
    text.assign(buffer, length ? length - 1 : 0);
}

template <class Record> void Identify(Record& record) {
    static const CQelString device = [] {
        CQelString text;
        Wide(text, BENCH_ADAPTER);
        return text;
    }();
    record.strDeviceId = device;
    record.strSecondId = SECOND_ID;
}

std::uint64_t BigEndian(const BYTE* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

} // namespace

Floor::Floor(HMODULE library, HMODULE coreAgent) : m_library(library) {
    m_core = NeedFunction<PFN_GetCoreAgentPvt>(coreAgent, "GetCoreAgentPvt")();
    m_device = L"\\DEVICE\\" + std::wstring(BENCH_ADAPTER, BENCH_ADAPTER + std::strlen(BENCH_ADAPTER));
    Open();
}

Floor::~Floor() {
    m_table.CloseAdapterHandler(m_handle);
}

void Floor::Begin() {
    m_core->WaitForApplyDone(0);
    Open();
}

void Floor::Open() {
    if (m_handle)
        m_table.CloseAdapterHandler(m_handle);
    char name[ORVAN_NAME_SIZE] = {};
    {
        const LibraryMutex mutex;
        HBA_UINT32 controller = 0;
        FIND_FUNCTION(m_library, ORVAN_InitializeLibrary)();
        FIND_FUNCTION(m_library, HBA_RegisterLibraryV2)(&m_table);
        FIND_FUNCTION(m_library, ORVAN_GetFCoEControllerInfo)(m_device.c_str(), &controller, name);
    }
    const LibraryMutex mutex;
    m_handle = FIND_FUNCTION(m_library, ORVAN_GetFCoEControllerHandle)(name);
}

std::vector<ORVAN_FC_PORT> Floor::ReadPorts() {
    HBA_UINT32 count = 0;
    {
        const LibraryMutex mutex;
        auto probe = Allocate<ORVAN_FC_PORT_LIST>(sizeof(ORVAN_FC_PORT_LIST));
        probe->NumberOfEntries = 1;
        FIND_FUNCTION(m_library, ORVAN_GetFCPortList)(m_handle, probe.get());
        count = probe->NumberOfEntries;
    }
    const LibraryMutex mutex;
    auto list = Allocate<ORVAN_FC_PORT_LIST>(4 + 64ull * count);
    list->NumberOfEntries = count;
    FIND_FUNCTION(m_library, ORVAN_GetFCPortList)(m_handle, list.get());
    return {list->entry, list->entry + count};
}

void Floor::Fabrics(std::vector<QEL_FCOE_FABRIC>& records) {
    Begin();
    const auto ports = ReadPorts();
    QEL_FCOE_FABRIC record;
    Identify(record);
    record.strName = L"Fabric 1";
    record.strKind = L"Physical";
    Wwn(record.strWWN1, ports[0].Identifier[0]);
    Wwn(record.strWWN2, ports[0].Identifier[1]);
    Wwn(record.strWWN3, ports[0].Identifier[2]);
    record.ulEntryWord = ports[0].Word56;
    record.ulNumber = ports[0].Number;
    record.ulEntryByte = ports[0].Byte62;
    records.push_back(std::move(record));
}

void Floor::Ports(std::vector<QEL_FCOE_PORT>& records) {
    Begin();
    for (const auto& port : ReadPorts()) {
        QEL_FCOE_PORT record;
        Identify(record);
        Wwn(record.strNodeWWN, port.NodeWWN);
        Wwn(record.strPortWWN, port.PortWWN);
        Wwn(record.strWWN3, port.Identifier[0]);
        record.ulPortType = port.PortType;
        record.ulWordA = port.WordA;
        record.ulWordB = port.WordB;
        record.strKind = L"Physical port";
        record.strFabricName = L"Fabric 1";
        records.push_back(std::move(record));
    }
}

std::vector<QEL_FCOE_TARGET> Floor::ReadTargets() {
    ORVAN_TARGET_LIST probe{};
    probe.NumberOfEntries = 1;
    const ORVAN_TARGET_LIST* list = &probe;
    Buffer<ORVAN_TARGET_LIST> all;
    if (FIND_FUNCTION(m_library, ORVAN_GetTargetList)(m_handle, &probe) == HBA_STATUS_ERROR_MORE_DATA) {
        all = Allocate<ORVAN_TARGET_LIST>(4 + 44ull * probe.NumberOfEntries);
        all->NumberOfEntries = probe.NumberOfEntries;
        FIND_FUNCTION(m_library, ORVAN_GetTargetList)(m_handle, all.get());
        list = all.get();
    }
    std::vector<QEL_FCOE_TARGET> records;
    for (HBA_UINT32 i = 0; i < list->NumberOfEntries; ++i) {
        const ORVAN_TARGET_ENTRY& entry = list->entry[i];
        QEL_FCOE_TARGET record;
        Identify(record);
        Wwn(record.strNodeWWN, entry.NodeWWN);
        Wwn(record.strPortWWN, entry.PortWWN);
        Wwn(record.strInitiatorPortWWN, entry.InitiatorPortWWN);
        record.strOwningPortWWN = record.strInitiatorPortWWN;
        record.strFabricName = L"Fabric 1";
        record.ulScsiBus = entry.ScsiBusNumber;
        record.ulScsiTarget = entry.ScsiTargetNumber;
        record.ulFcId = entry.FcId;
        record.ulNumber = entry.Number;
        record.ulPortType = entry.InitiatorPortType;
        std::memcpy(record.byInitiatorPortWWN, entry.InitiatorPortWWN.wwn, 8);
        BYTE response[260] = {}, sense[260] = {};
        if (m_table.ScsiInquiryHandler(m_handle, entry.PortWWN, 0, 1, 0x80, response, 260, sense, 260) ==
            HBA_STATUS_OK) {
            const std::string serial(reinterpret_cast<char*>(response) + 4, response[3]);
            Wide(record.strSerial, serial.c_str());
        }
        std::memset(response, 0, sizeof response);
        std::memset(sense, 0, sizeof sense);
        if (m_table.ScsiInquiryHandler(m_handle, entry.PortWWN, 0, 0, 0, response, 260, sense, 260) == HBA_STATUS_OK) {
            const std::string vendor(reinterpret_cast<char*>(response) + 8, 8);
            Wide(record.strVendor, vendor.c_str());
        }
        records.push_back(std::move(record));
    }
    return records;
}

void Floor::Targets(std::vector<QEL_FCOE_TARGET>& records) {
    Begin();
    const auto ports = ReadPorts();
    auto targets = ReadTargets();
    records.insert(records.end(), std::make_move_iterator(targets.begin()), std::make_move_iterator(targets.end()));
}

void Floor::Luns(std::vector<QEL_FCOE_LUN>& records) {
    Begin();
    const auto ports = ReadPorts();
    for (const auto& target : ReadTargets()) {
        HBA_FCPTARGETMAPPING probe{};
        probe.NumberOfEntries = 1;
        const HBA_FCPTARGETMAPPING* mapping = &probe;
        Buffer<HBA_FCPTARGETMAPPING> all;
        if (m_table.GetFcpTargetMappingHandler(m_handle, &probe) == HBA_STATUS_ERROR_MORE_DATA) {
            all = Allocate<HBA_FCPTARGETMAPPING>(8 + 304ull * probe.NumberOfEntries);
            all->NumberOfEntries = probe.NumberOfEntries;
            m_table.GetFcpTargetMappingHandler(m_handle, all.get());
            mapping = all.get();
        }
        HBA_WWN initiator;
        std::memcpy(initiator.wwn, target.byInitiatorPortWWN, 8);
        for (HBA_UINT32 i = 0; i < mapping->NumberOfEntries; ++i) {
            const HBA_FCPSCSIENTRY& entry = mapping->entry[i];
            if (entry.ScsiId.ScsiBusNumber != target.ulScsiBus ||
                entry.ScsiId.ScsiTargetNumber != target.ulScsiTarget || entry.FcpId.FcId != target.ulFcId)
                continue;
            QEL_FCOE_LUN record;
            Identify(record);
            record.ulOsLun = entry.ScsiId.ScsiOSLun;
            record.ulScsiBus = entry.ScsiId.ScsiBusNumber;
            record.ulScsiTarget = entry.ScsiId.ScsiTargetNumber;
            Wide(record.strOsDeviceName, entry.ScsiId.OSDeviceName);
            record.strTargetPortWWN = target.strPortWWN;
            record.strOwningPortWWN = target.strOwningPortWWN;
            record.strFabricName = target.strFabricName;
            Wwn(record.strInitiatorPortWWN, initiator);
            BYTE response[260] = {}, sense[260] = {};
            HBA_UINT32 responseSize = 260, senseSize = 260;
            if (m_table.ScsiReadCapacityV2Handler(m_handle, initiator, entry.FcpId.PortWWN, entry.FcpId.FcpLun,
                                                  response, &responseSize, nullptr, sense,
                                                  &senseSize) == HBA_STATUS_OK) {
                const auto length = static_cast<LONG64>(BigEndian(response + 8, 4));
                const double bytes = static_cast<double>(static_cast<LONG64>(BigEndian(response, 8))) * length;
                wchar_t text[40];
                if (bytes < 1073741824.0)
                    _snwprintf(text, 40, L"%I64d MB", static_cast<LONG64>(bytes / 1024 / 1024));
                else
                    _snwprintf(text, 40, L"%I64d GB", static_cast<LONG64>(bytes / 1024 / 1024 / 1024));
                record.strCapacity = text;
                _snwprintf(text, 40, L"%I64d bytes", length);
                record.strBlockSize = text;
            }
            records.push_back(std::move(record));
        }
    }
}

void Floor::Vlans(std::vector<QEL_FCOE_VLAN>& records) {
    Begin();
    ORVAN_VLAN_LIST probe{};
    probe.NumberOfEntries = 1;
    FIND_FUNCTION(m_library, ORVAN_GetVlanIdList)(m_handle, &probe);
    QEL_FCOE_VLAN record;
    Identify(record);
    record.ulVlanId = probe.entry[0] & 0xFFFF;
    record.ulState = probe.entry[0] >> 16;
    record.strName = L"VLAN 1002";
    record.strState = L"Active";
    records.push_back(std::move(record));
}

void Floor::Statistics(std::vector<QEL_FCOE_STATISTIC>& records) {
    Begin();
    HBA_PORTSTATISTICS s{};
    m_table.GetPortStatisticsHandler(m_handle, 0, &s);
    const LONG64 values[15] = {s.TxFrames,           s.TxWords,           s.TxWords * 4 / 1024, 0,
                               s.RxFrames,           s.RxWords,           s.RxWords * 4 / 1024, 0,
                               s.ErrorFrames,        s.DumpedFrames,      s.LossOfSyncCount,    s.InvalidCRCCount,
                               s.InvalidTxWordCount, s.LossOfSignalCount, s.LinkFailureCount};
    for (const LONG64 value : values) {
        QEL_FCOE_STATISTIC record;
        Identify(record);
        record.strLabel = L"Counter of frames or words";
        record.llValue = value;
        records.push_back(std::move(record));
    }
}
