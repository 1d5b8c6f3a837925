// Where the adapter sits on the PCI bus.
#include <cstring>

#include <windows.h>

#include <setupapi.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelRegKey.h"
#include "model/FcoeHBA.h"
#include "model/PciSlot.h"

namespace {

struct CQelDeviceSetTraits {
    using Handle = HDEVINFO;
    static Handle Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { SetupDiDestroyDeviceInfoList(handle); }
};
using CQelDeviceSet = CQelOwner<CQelDeviceSetTraits>;

constexpr GUID NETWORK_CLASS = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

// The braced GUID in the adapter's network instance, such as \DEVICE\{...}; empty when there is none.
CQelString InstanceGuid(const ORVAN_FC_NIC_PROPERTIES& properties) {
    char szInstance[sizeof properties.NetworkInstance + 1] = {};
    std::memcpy(szInstance, properties.NetworkInstance, sizeof properties.NetworkInstance);
    wchar_t szGuid[sizeof szInstance] = {};
    if (const char* pszGuid = std::strchr(szInstance, '{'))
        CQelString::QelMultiByteToWideChar(CP_ACP, 0, pszGuid, -1, szGuid, static_cast<int>(std::size(szGuid)));
    return szGuid;
}

CQelString NetCfgInstance(HDEVINFO hDevices, SP_DEVINFO_DATA& device) {
    CQelString strInstance;
    const HKEY hKey = SetupDiOpenDevRegKey(hDevices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (hKey != INVALID_HANDLE_VALUE)
        CQelRegKey(hKey).GetValue(L"NetCfgInstanceId", strInstance);
    return strInstance;
}

// Ends at the set's end, and when the set cannot be read: walking on would never end then.
bool FindDevice(HDEVINFO hDevices, const CQelString& strGuid, SP_DEVINFO_DATA& device) {
    for (DWORD dwIndex = 0; SetupDiEnumDeviceInfo(hDevices, dwIndex, &device); ++dwIndex)
        if (NetCfgInstance(hDevices, device).CompareI(strGuid))
            return true;
    return false;
}

bool ReadNumber(HDEVINFO hDevices, SP_DEVINFO_DATA& device, DWORD dwProperty, DWORD& dwValue) {
    DWORD dwRead = 0;
    if (!SetupDiGetDeviceRegistryPropertyW(hDevices, &device, dwProperty, nullptr, reinterpret_cast<BYTE*>(&dwRead),
                                           sizeof dwRead, nullptr))
        return false;
    dwValue = dwRead;
    return true;
}

} // namespace

void CQelFcoeHBA::GetPCISlotInfo(PciSlot& slot) {
    const CQelDebugScope trace(L"CQelFcoeHBA::GetPCISlotInfo");
    slot = {};
    const HBA_HANDLE hAdapter = Open();
    const CQelDeviceSet devices(SetupDiGetClassDevsW(&NETWORK_CLASS, nullptr, nullptr, DIGCF_PRESENT));

    ORVAN_FC_NIC_PROPERTIES properties{};
    if (!m_pLibrary->GetFCEthernetProperties(hAdapter, &properties)) {
        QEL_PRINT(L"Unable to retrieve properties from HBAAPI");
        return;
    }
    const CQelString strGuid = InstanceGuid(properties);

    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    DWORD dwBus = 0;
    if (!devices || strGuid.IsEmpty() || !FindDevice(devices.Get(), strGuid, device) ||
        !ReadNumber(devices.Get(), device, SPDRP_BUSNUMBER, dwBus)) {
        QEL_PRINT(L"CQelFcoeHBA::GetPCISlotInfo - Failed to get the bus number");
        return;
    }
    slot.SetBus(dwBus);
    QEL_PRINT(L"Bus number : %d", slot.Bus());

    DWORD dwAddress = 0;
    if (!ReadNumber(devices.Get(), device, SPDRP_ADDRESS, dwAddress)) {
        QEL_PRINT(L"CQelFcoeHBA::GetPCISlotInfo - Failed to get the device number");
        return;
    }
    slot.SetDevice(dwAddress >> 16);
    slot.SetFunction(dwAddress);
    QEL_PRINT(L"Device number : %d", slot.Device());
    QEL_PRINT(L"Function number : %d", slot.Function());
}
