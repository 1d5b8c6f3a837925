// The simulated library behind the deviating one, and which deviation is wanted.
#pragma once

#include <string_view>

#include "FcoeAgent/OrvanHbaApi.h"

// Whether the variable VERIFY_DEVIATION had this name when the module was loaded.
bool Is(std::string_view deviation);

struct RealLibrary {
    decltype(&HBA_RegisterLibraryV2) registerLibrary;
    decltype(&ORVAN_InitializeLibrary) initialize;
    decltype(&ORVAN_GetFCoEControllerInfo) controllerInfo;
    decltype(&ORVAN_GetFCoEControllerHandle) controllerHandle;
    decltype(&ORVAN_GetFCAndNICProperties) properties;
    decltype(&ORVAN_GetTargetList) targetList;
    decltype(&ORVAN_GetVlanIdList) vlanList;
    decltype(&ORVAN_SendReadCapacity16) readCapacity16;
    decltype(&ORVAN_GetFCPortList) portList;
    HBA_ENTRYPOINTSV2 table;
};
// Loads it at the first call.
const RealLibrary& Real();

// The handle of the simulated library for one that a caller has.
HBA_HANDLE RealHandle(HBA_HANDLE handle);

// The table's handlers, as they deviate.
HBA_ENTRYPOINTSV2 DeviatingTable();
