// The floor of the benchmark: what any client of the suite has to do for each enumeration, done directly. It waits for
// the core agent's pending change, makes the library calls that the agent makes, with the same buffers, and fills the
// same records from them. The calls that every client must serialise across processes take the same mutex, and the
// vendor's own functions are looked up at every call. No cache, no log, no tree.
#pragma once

#include <vector>

#include <windows.h>

#include "FcoeAgent/CoreAgentPvt.h"
#include "FcoeAgent/FcoeRecords.h"
#include "FcoeAgent/OrvanHbaApi.h"

// The mutex that every client of the library takes, opened anew each time.
class LibraryMutex {
  public:
    LibraryMutex() : m_handle(CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT")) {
        WaitForSingleObject(m_handle, 10000);
    }
    ~LibraryMutex() {
        ReleaseMutex(m_handle);
        CloseHandle(m_handle);
    }
    LibraryMutex(const LibraryMutex&) = delete;
    LibraryMutex& operator=(const LibraryMutex&) = delete;

  private:
    HANDLE m_handle;
};

class Floor {
  public:
    Floor(HMODULE library, HMODULE coreAgent);
    ~Floor();
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;

    // The adapter of bench/Topology.h. Each opens the adapter anew, as the agent's readers do.
    void Fabrics(std::vector<QEL_FCOE_FABRIC>& records);
    void Ports(std::vector<QEL_FCOE_PORT>& records);
    void Targets(std::vector<QEL_FCOE_TARGET>& records);
    void Luns(std::vector<QEL_FCOE_LUN>& records);
    void Vlans(std::vector<QEL_FCOE_VLAN>& records);
    void Statistics(std::vector<QEL_FCOE_STATISTIC>& records);

  private:
    void Begin();
    void Open();
    std::vector<ORVAN_FC_PORT> ReadPorts();
    std::vector<QEL_FCOE_TARGET> ReadTargets();

    HBA_ENTRYPOINTSV2 m_table{};
    HBA_HANDLE m_handle = 0;
    std::wstring m_device;

    HMODULE m_library;
    ICoreAgentPvt* m_core;
};
