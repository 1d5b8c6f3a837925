// The Windows service around the COM class.
#pragma once

#include <windows.h>

inline constexpr wchar_t SERVICE_NAME[] = L"OrvanDCB";
inline constexpr wchar_t SERVICE_DISPLAY_NAME[] = L"ORVAN DCB Service";

// Serves as the service until the service manager stops it. Returns a Win32 error;
// ERROR_FAILED_SERVICE_CONTROLLER_CONNECT when the service manager did not start this process.
DWORD RunService();
