// The device functions that find an adapter on the PCI bus.
#pragma once

#include <windows.h>

using HDEVINFO = void*;

struct SP_DEVINFO_DATA {
    DWORD cbSize;
    GUID ClassGuid;
    DWORD DevInst;
    std::uintptr_t Reserved;
};

#define DIGCF_PRESENT 2
#define DICS_FLAG_GLOBAL 1
#define DIREG_DRV 2
#define SPDRP_BUSNUMBER 0x15
#define SPDRP_ADDRESS 0x1C

HDEVINFO SetupDiGetClassDevsW(const GUID* pClass, const wchar_t* pszEnumerator, void* hwndParent, DWORD dwFlags);
BOOL SetupDiDestroyDeviceInfoList(HDEVINFO hDevices);
BOOL SetupDiEnumDeviceInfo(HDEVINFO hDevices, DWORD dwIndex, SP_DEVINFO_DATA* pDevice);
HKEY SetupDiOpenDevRegKey(HDEVINFO hDevices, SP_DEVINFO_DATA* pDevice, DWORD, DWORD, DWORD, REGSAM);
BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO hDevices, SP_DEVINFO_DATA* pDevice, DWORD dwProperty, DWORD* pdwType,
                                       BYTE* pbyBuffer, DWORD dwSize, DWORD* pdwRequired);
