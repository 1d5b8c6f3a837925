// The version of these headers, and whether an agent that was loaded fits them.
#pragma once

#include <windows.h>

// Within one major version the interface's slots and the records' layouts stay.
#define FCOE_AGENT_VERSION_MAJOR 1
#define FCOE_AGENT_VERSION_MINOR 0
#define FCOE_AGENT_VERSION_PATCH 0

// The version that a module's resources tell, major in the upper 16 bits, minor in the lower; 0 when they tell none.
// The module is loaded; any thread.
inline DWORD FcoeModuleVersion(HMODULE hModule) {
    constexpr DWORD FIXED_INFO = 40; // where VS_FIXEDFILEINFO stands in the resource
    const HRSRC hResource =
        FindResourceW(hModule, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16)); // RT_VERSION
    const HGLOBAL hLoaded = hResource ? LoadResource(hModule, hResource) : nullptr;
    if (!hLoaded || SizeofResource(hModule, hResource) < FIXED_INFO + sizeof(VS_FIXEDFILEINFO))
        return 0;
    const auto* pInfo =
        reinterpret_cast<const VS_FIXEDFILEINFO*>(static_cast<const char*>(LockResource(hLoaded)) + FIXED_INFO);
    return pInfo->dwSignature == VS_FFI_SIGNATURE ? pInfo->dwFileVersionMS : 0;
}

// Whether a host that was compiled with these headers may use the agent in that module.
inline bool FcoeAgentFits(HMODULE hAgent) {
    return HIWORD(FcoeModuleVersion(hAgent)) == FCOE_AGENT_VERSION_MAJOR;
}
