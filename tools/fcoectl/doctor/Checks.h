// The checks, in the order in which they are made.
#pragma once

#include <string>

#include <windows.h>

#include "tools/fcoectl/doctor/Examination.h"

namespace fcoectl {

// Modules.cpp
void CheckAgentRegistration(Examination& examination);
void CheckAgentFile(Examination& examination);
void CheckCoreAgentRegistration(Examination& examination);
void CheckCoreAgentFile(Examination& examination);
void CheckCommonLibrary(Examination& examination);
void CheckRunTime(Examination& examination);

// VendorLibraryChecks.cpp
void CheckVendorLibrary(Examination& examination);
void CheckVendorMutex(Examination& examination);

// System.cpp
void CheckFcoeFlag(Examination& examination);
void CheckAccount(Examination& examination);
void CheckLeftovers(Examination& examination);

// DcbChecks.cpp
void CheckDcbService(Examination& examination);
void CheckDcbClass(Examination& examination);

// LogChecks.cpp
void CheckLogLevel(Examination& examination);
void CheckLogFile(Examination& examination);

// Adapters.cpp
void CheckAgentStart(Examination& examination);
void CheckAdapters(Examination& examination);

// What several of them look at.
constexpr wchar_t DCB_SERVICE[] = L"OrvanDCB";
inline bool Exists(const std::wstring& file) {
    return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

} // namespace fcoectl
