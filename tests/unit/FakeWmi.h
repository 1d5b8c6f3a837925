// WMI as the test wants it: the class that makes locators, registered in this process for as long as the object lives.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

#include <wbemcli.h>

class FakeWmi {
  public:
    FakeWmi(); // initializes COM on this thread
    ~FakeWmi();
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;

    HRESULT createResult = S_OK;
    HRESULT connectResult = S_OK;
    HRESULT queryResult = S_OK;
    bool yieldsEnumerator = true; // whatever the query's result

    std::function<void()> onEnumeratorReleased;

    // What happened: "connect NAMESPACE", "query LANGUAGE: QUERY", "release enumerator", "release services",
    // "release locator".
    std::vector<std::wstring> calls;
    int liveObjects = 0;

  private:
    DWORD m_cookie = 0;
};
