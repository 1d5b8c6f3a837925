// The part of SetupAPI that the suite uses, over the topology's PCI data. A function's fault status is its last error.
#include <windows.h>

// The functions below are the ones that the system's header would import.
#define _SETUPAPI_
#include <setupapi.h>

#include "simulator/control/Call.h"
#include "simulator/setupapi/DeviceList.h"

using setupapi::DeviceList;
using setupapi::DeviceLists;

namespace {

constexpr GUID NETWORK_DEVICES = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

// Which device of a set: its place in the set, kept where the system keeps its own mark.
struct Device {
    Device(HDEVINFO set, const SP_DEVINFO_DATA* data) : list(DeviceLists::Instance().Find(set)) {
        if (list && data && data->cbSize == sizeof *data) {
            index = data->Reserved;
            adapter = list->Device(index);
        }
    }

    std::shared_ptr<const DeviceList> list;
    ULONG_PTR index = 0;
    const sim::Adapter* adapter = nullptr; // null: set or data are not good
};

// The error that the call ends with: a fault's, or the given one; 0: it goes on.
DWORD Refusal(const sim::Call& call, DWORD error) {
    return call.Status().value_or(error);
}

BOOL Finish(sim::Call& call, DWORD error) {
    call.Done(error);
    SetLastError(error);
    return error == ERROR_SUCCESS;
}

} // namespace

extern "C" {

HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* deviceClass, PCWSTR, HWND, DWORD flags) {
    sim::Call call("SetupDiGetClassDevsW");
    const sim::Scene& scene = call.Scene();
    DWORD error = scene.error.empty() ? ERROR_SUCCESS : ERROR_BAD_CONFIGURATION;
    if (!deviceClass && !(flags & DIGCF_ALLCLASSES))
        error = ERROR_INVALID_PARAMETER;
    if (!Finish(call, Refusal(call, error)))
        return INVALID_HANDLE_VALUE;
    const bool wanted = !deviceClass || IsEqualGUID(*deviceClass, NETWORK_DEVICES);
    return DeviceLists::Instance().Add(wanted ? scene.topology.adapters : std::vector<sim::Adapter>());
}

BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA data) {
    const auto list = DeviceLists::Instance().Find(set);
    const sim::Adapter* adapter = list ? list->Device(index) : nullptr;
    sim::Call call("SetupDiEnumDeviceInfo", adapter);
    call.Note("index", index);
    const bool sized = data && data->cbSize == sizeof *data;
    const DWORD error = Refusal(call, !list      ? ERROR_INVALID_HANDLE
                                      : !sized   ? ERROR_INVALID_USER_BUFFER
                                      : !adapter ? ERROR_NO_MORE_ITEMS
                                                 : ERROR_SUCCESS);
    if (error == ERROR_SUCCESS && adapter) {
        data->ClassGuid = NETWORK_DEVICES;
        data->DevInst = index + 1;
        data->Reserved = index;
    }
    return Finish(call, error);
}

HKEY WINAPI SetupDiOpenDevRegKey(HDEVINFO set, PSP_DEVINFO_DATA data, DWORD scope, DWORD, DWORD keyType,
                                 REGSAM access) {
    const Device device(set, data);
    sim::Call call("SetupDiOpenDevRegKey", device.adapter);
    const bool driverKey = scope == DICS_FLAG_GLOBAL && keyType == DIREG_DRV;
    const DWORD error = Refusal(call, !device.adapter ? ERROR_INVALID_HANDLE
                                      : !driverKey    ? static_cast<DWORD>(ERROR_KEY_DOES_NOT_EXIST)
                                                      : ERROR_SUCCESS);
    if (!Finish(call, error) || !device.adapter)
        return static_cast<HKEY>(INVALID_HANDLE_VALUE);
    const HKEY key = device.list->OpenDriverKey(device.index, access);
    return key ? key : static_cast<HKEY>(INVALID_HANDLE_VALUE);
}

BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO set, PSP_DEVINFO_DATA data, DWORD property, PDWORD type,
                                              PBYTE buffer, DWORD size, PDWORD required) {
    const Device device(set, data);
    sim::Call call("SetupDiGetDeviceRegistryPropertyW", device.adapter);
    call.Note("property", property);
    DWORD value = 0;
    DWORD error = ERROR_SUCCESS;
    if (!device.adapter)
        error = ERROR_INVALID_HANDLE;
    else if (property == SPDRP_BUSNUMBER)
        value = device.adapter->pci.bus;
    else if (property == SPDRP_ADDRESS)
        value = device.adapter->pci.device << 16 | device.adapter->pci.function;
    else
        error = ERROR_INVALID_DATA;
    if (error == ERROR_SUCCESS) {
        if (type)
            *type = REG_DWORD;
        if (required)
            *required = sizeof value;
        if (!buffer || size < sizeof value)
            error = ERROR_INSUFFICIENT_BUFFER;
    }
    error = Refusal(call, error);
    if (buffer && size >= sizeof value && !call.Garbage(buffer, sizeof value) && error == ERROR_SUCCESS)
        std::memcpy(buffer, &value, sizeof value);
    return Finish(call, error);
}

BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO set) {
    sim::Call call("SetupDiDestroyDeviceInfoList");
    const DWORD refusal = Refusal(call, ERROR_SUCCESS);
    if (refusal != ERROR_SUCCESS)
        return Finish(call, refusal);
    return Finish(call, DeviceLists::Instance().Remove(set) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}

} // extern "C"
