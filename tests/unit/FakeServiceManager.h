// A service control manager of the test's own, behind the test program's imports. Time in it passes only by Sleep.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <windows.h>

#include "tests/kit/ImportPatch.h"

struct FakeService {
    DWORD state = SERVICE_STOPPED;
    std::map<int, DWORD> changes;        // by the number of sleeps that have passed
    std::map<int, DWORD> refusedQueries; // the same: errors of QueryServiceStatus
    DWORD openError = 0;
    DWORD queryError = 0;
    DWORD controlError = 0;
    int stopsAfter = 0; // sleeps from the stop control to the stop; 0: never stops
    bool startFails = false;
};

class FakeServiceManager {
  public:
    FakeServiceManager();
    ~FakeServiceManager();
    FakeServiceManager(const FakeServiceManager&) = delete;
    FakeServiceManager& operator=(const FakeServiceManager&) = delete;

    FakeService& operator[](const std::wstring& name) { return m_services[name]; }
    // What was asked, in order: "open OrvanDCB", "start OFCoEDCB", "query OrvanDCB", "stop OrvanDCB", "sleep".
    int Count(const std::string& call) const;
    const std::vector<std::string>& Calls() const { return m_calls; }

    DWORD managerError = 0;
    int sleeps = 0;
    int openHandles = 0;
    std::vector<DWORD> sleepTimes;
    std::vector<DWORD> managerAccess;
    std::vector<DWORD> serviceAccess;

  private:
    struct Handle {
        std::wstring service; // empty: the manager
    };
    static FakeServiceManager* s_instance;

    static SC_HANDLE WINAPI OpenManager(const wchar_t* machine, const wchar_t* database, DWORD access);
    static SC_HANDLE WINAPI Open(SC_HANDLE manager, const wchar_t* name, DWORD access);
    static BOOL WINAPI Query(SC_HANDLE service, SERVICE_STATUS* status);
    static BOOL WINAPI Start(SC_HANDLE service, DWORD count, const wchar_t** arguments);
    static BOOL WINAPI Control(SC_HANDLE service, DWORD control, SERVICE_STATUS* status);
    static BOOL WINAPI Close(SC_HANDLE handle);
    static void WINAPI PassTime(DWORD milliseconds);
    void Note(const char* what, const std::wstring& service);

    std::map<std::wstring, FakeService> m_services;
    std::vector<std::string> m_calls;
    ImportPatch m_openManager;
    ImportPatch m_open;
    ImportPatch m_query;
    ImportPatch m_start;
    ImportPatch m_control;
    ImportPatch m_close;
    ImportPatch m_sleep;
};
