// WMI as the test wants it: the class that makes locators, registered in this process for as long as the object lives.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

#include <wbemcli.h>

#include "tests/kit/ImportPatch.h"

class FakeWmi {
  public:
    FakeWmi(); // initializes COM on this thread
    ~FakeWmi();
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;

    HRESULT createResult = S_OK;
    HRESULT connectResult = S_OK;
    HRESULT blanketResult = S_OK;
    HRESULT queryResult = S_OK;
    bool yieldsEnumerator = true; // whatever the query's result

    std::function<void()> onEnumeratorReleased;

    // What happened: "connect NAMESPACE", "impersonation LEVEL", "query LANGUAGE: QUERY", "release enumerator",
    // "release services", "release locator".
    std::vector<std::wstring> calls;
    int liveObjects = 0;
    IUnknown* services = nullptr; // of the last connection

  private:
    static HRESULT WINAPI SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, OLECHAR* principal,
                                     DWORD level, DWORD impersonation, void* identity, DWORD capabilities);
    static FakeWmi* s_instance;

    ImportPatch m_setBlanket;
    DWORD m_cookie = 0;
};
