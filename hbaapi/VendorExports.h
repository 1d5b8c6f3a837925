// The exports of the vendor library that are called, each with its name and its type.
#pragma once

#include "FcoeAgent/OrvanHbaApi.h"

// F: pointer to the function.
template <class F> struct VendorExport { const wchar_t* pszName; };

namespace VendorExports {

// Both from the declaration, so that a name without one does not compile.
#define QEL_VENDOR_EXPORT(function)                                                                                    \
    inline constexpr auto function = VendorExport<decltype(&::function)> {                                             \
        L"" #function                                                                                                  \
    }

QEL_VENDOR_EXPORT(HBA_RegisterLibraryV2);
QEL_VENDOR_EXPORT(ORVAN_InitializeLibrary);
QEL_VENDOR_EXPORT(ORVAN_GetFCoEControllerInfo);
QEL_VENDOR_EXPORT(ORVAN_GetFCoEControllerHandle);
QEL_VENDOR_EXPORT(ORVAN_GetFCAndNICProperties);
QEL_VENDOR_EXPORT(ORVAN_GetTargetList);
QEL_VENDOR_EXPORT(ORVAN_GetVlanIdList);
QEL_VENDOR_EXPORT(ORVAN_SendReadCapacity16);
QEL_VENDOR_EXPORT(ORVAN_RescanScsiBus);
QEL_VENDOR_EXPORT(ORVAN_GeneratePortWWN);
QEL_VENDOR_EXPORT(ORVAN_CreateVPort);
QEL_VENDOR_EXPORT(ORVAN_RemoveVPort);
QEL_VENDOR_EXPORT(ORVAN_GetFCPortList);

#undef QEL_VENDOR_EXPORT

} // namespace VendorExports
