// The DCB service's class as the test wants it: registered in this process for as long as the object lives, so that a
// client gets the object itself, without a proxy. COM is initialized on the test's thread meanwhile.
#pragma once

#include <array>
#include <string>
#include <vector>

#include <windows.h>

#include "FcoeAgent/OrvanDcb.h"
#include "tests/kit/ImportPatch.h"

class FakeDcbService {
  public:
    FakeDcbService();
    ~FakeDcbService();
    FakeDcbService(const FakeDcbService&) = delete;
    FakeDcbService& operator=(const FakeDcbService&) = delete;

    // What the operations answer; reserved fields are noise.
    HRESULT configResult = S_OK;
    LONG dcbEnabled = 1;
    HRESULT appResult = S_OK;
    BYTE priorityMap = 0x08;
    HRESULT pfcResult = S_OK;
    std::array<LONG, 8> pfc{0, 0, 0, 1, 0, 0, 0, 0};

    // Results of the COM functions, when they are failures.
    HRESULT initializeResult = S_OK;
    HRESULT progIdResult = S_OK;
    HRESULT createResult = S_OK;

    // What happened, in order: "CoInitializeEx 0", "CLSIDFromProgID NAME", "create {IID}", "config ADAPTER",
    // "app ADAPTER INDEX", "pfc ADAPTER", "release", "CoUninitialize".
    std::vector<std::string> calls;
    int liveObjects = 0;

  private:
    static HRESULT WINAPI InitializeCom(void* reserved, DWORD model);
    static void WINAPI UninitializeCom();
    static HRESULT WINAPI FindClass(const wchar_t* progId, CLSID* classId);
    static FakeDcbService* s_instance;

    DWORD m_cookie = 0;
    ImportPatch m_initialize;
    ImportPatch m_uninitialize;
    ImportPatch m_findClass;
};
