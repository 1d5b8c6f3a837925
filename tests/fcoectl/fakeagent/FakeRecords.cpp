#include "tests/fcoectl/fakeagent/FakeRecords.h"

#include <string>

#include "FcoeAgent/QelResource.h"

namespace {

CQelString Resource(UINT id) {
    CQelString text;
    text.LoadCommonResString(id);
    return text;
}

CQelString Text(const std::wstring& text) {
    CQelString converted;
    converted = text;
    return converted;
}

// A record's identifiers, by which all records of one adapter are known.
template <class Record> Record Of(const QEL_FCOE_HBA& hba) {
    Record record;
    record.strDeviceId = hba.strDeviceId;
    record.strSecondId = hba.strSecondId;
    return record;
}

QEL_FCOE_HBA Hba(int index) {
    const std::wstring digit = std::to_wstring(index + 1);
    QEL_FCOE_HBA hba;
    hba.strType = L"FCoE HBA";
    hba.strDeviceId = Text(L"{0B6C7E1A-5D24-4F8B-9C11-00000000000" + digit + L"}");
    hba.strSecondId = Text(L"ORVAN CNA Port " + digit);
    hba.strPortWWN = Text(L"20:00:00:1B:21:00:00:0" + digit);
    hba.strNodeWWN = Text(L"10:00:00:1B:21:00:00:0" + digit);
    hba.ulPortFcId = 0x010200 + static_cast<ULONG>(index);
    hba.strPciLocation = Text(L"PCI bus 4, device 0, function " + std::to_wstring(index));
    hba.strPortSpeed = L"10 Gbps";
    hba.strFcoeLinkStatus = Resource(index ? IDS_QEL_LINK_PFC_MISMATCH : IDS_QEL_LINK_UP);
    hba.strAdapterName = Text(L"orvan-fcoe-" + std::to_wstring(index));
    hba.strModel = L"CX-"; // all that the agent gives of it
    return hba;
}

QEL_FCOE_FABRIC Fabric(const QEL_FCOE_HBA& hba, bool isVirtual) {
    auto fabric = Of<QEL_FCOE_FABRIC>(hba);
    fabric.strName = isVirtual ? L"Virtual Fabric 2" : L"Fabric 1";
    fabric.strWWN1 = hba.strPortWWN;
    fabric.strWWN2 = L"10:00:00:05:1E:AA:00:01";
    fabric.strWWN3 = L"20:01:00:05:1E:AA:00:01";
    fabric.ulEntryWord = 1;
    fabric.strKind = isVirtual ? L"Virtual" : L"Physical";
    fabric.ulKind = isVirtual;
    fabric.ulNumber = isVirtual ? 2 : 1;
    return fabric;
}

QEL_FCOE_PORT Port(const QEL_FCOE_HBA& hba, bool isVirtual) {
    auto port = Of<QEL_FCOE_PORT>(hba);
    port.strNodeWWN = hba.strNodeWWN;
    port.strPortWWN = isVirtual ? CQelString(L"20:01:00:1B:21:00:00:01") : hba.strPortWWN;
    port.ulPortType = isVirtual ? 2 : 0;
    port.strKind = isVirtual ? L"Virtual port" : L"Physical port";
    port.ulWordA = 7;
    port.ulWordB = isVirtual ? 0x010201 : 0x010200;
    port.strWWN3 = port.strPortWWN;
    port.strFabricName = isVirtual ? L"Virtual Fabric 2" : L"Fabric 1";
    return port;
}

QEL_FCOE_TARGET Target(const QEL_FCOE_HBA& hba, const QEL_FCOE_PORT& port) {
    auto target = Of<QEL_FCOE_TARGET>(hba);
    target.strNodeWWN = L"50:06:01:60:00:00:00:00";
    target.strPortWWN = L"50:06:01:60:00:00:00:01";
    target.ulScsiBus = 1;
    target.ulFcId = 0x010500;
    target.ulNumber = 3;
    target.strVendor = L"ACME    ";
    target.strSerial = L"SN-0001";
    target.strInitiatorPortWWN = port.strPortWWN;
    target.strOwningPortWWN = port.strWWN3;
    target.strFabricName = port.strFabricName;
    const BYTE bytes[8] = {0x20, 0x00, 0x00, 0x1B, 0x21, 0x00, 0x00, 0x01};
    std::copy(std::begin(bytes), std::end(bytes), target.byInitiatorPortWWN);
    target.ulPortType = port.ulPortType;
    return target;
}

QEL_FCOE_LUN Lun(const QEL_FCOE_HBA& hba, const QEL_FCOE_TARGET& target, ULONG number) {
    auto lun = Of<QEL_FCOE_LUN>(hba);
    lun.ulOsLun = number;
    lun.ulScsiBus = target.ulScsiBus;
    lun.ulScsiTarget = target.ulScsiTarget;
    lun.strOsDeviceName = Text(L"\\\\.\\PHYSICALDRIVE" + std::to_wstring(number + 1));
    lun.strCapacity = number ? L"512 MB" : L"100 GB";
    lun.strBlockSize = L"512 bytes";
    lun.strTargetPortWWN = target.strPortWWN;
    lun.strOwningPortWWN = target.strOwningPortWWN;
    lun.strInitiatorPortWWN = target.strInitiatorPortWWN;
    lun.strFabricName = target.strFabricName;
    return lun;
}

QEL_FCOE_VLAN Vlan(const QEL_FCOE_HBA& hba, ULONG id, bool active) {
    auto vlan = Of<QEL_FCOE_VLAN>(hba);
    vlan.strName = Text(L"VLAN " + std::to_wstring(id));
    vlan.ulVlanId = id;
    vlan.ulState = active;
    vlan.strState = active ? L"Active" : L"Inactive";
    return vlan;
}

QEL_FCOE_STATISTIC Counter(const QEL_FCOE_HBA& hba, UINT label) {
    auto statistic = Of<QEL_FCOE_STATISTIC>(hba);
    statistic.strLabel = Resource(label);
    statistic.llValue = (label - IDS_QEL_STAT_TX_FRAMES + 1) * 1000;
    // As the agent counts: of words it makes kilobytes, and two of its counters are always 0.
    if (label == IDS_QEL_STAT_TX_KILOBYTES || label == IDS_QEL_STAT_RX_KILOBYTES)
        statistic.llValue = (statistic.llValue - 1000) * 4 / 1024;
    if (label == IDS_QEL_STAT_TX_RESERVED || label == IDS_QEL_STAT_RX_RESERVED)
        statistic.llValue = 0;
    return statistic;
}

} // namespace

FakeRecords MakeFakeRecords(int adapters) {
    FakeRecords records;
    for (int index = 0; index < adapters; ++index) {
        const QEL_FCOE_HBA hba = Hba(index);
        records.hbas.push_back(hba);
        for (UINT label = IDS_QEL_STAT_TX_FRAMES; label <= IDS_QEL_STAT_LINK_FAILURE; ++label)
            records.statistics.push_back(Counter(hba, label));
        records.vlans.push_back(Vlan(hba, 1002, true));
        records.vlans.push_back(Vlan(hba, 20, false));
        for (const bool isVirtual : {false, true}) {
            if (isVirtual && index)
                continue; // only the first adapter has virtual ports
            const QEL_FCOE_PORT port = Port(hba, isVirtual);
            const QEL_FCOE_TARGET target = Target(hba, port);
            records.fabrics.push_back(Fabric(hba, isVirtual));
            records.ports.push_back(port);
            records.targets.push_back(target);
            records.luns.push_back(Lun(hba, target, 0));
            if (!isVirtual)
                records.luns.push_back(Lun(hba, target, 1));
        }
    }
    return records;
}
