// Stands where orvanhapi.dll stands, for tests that link the agent's objects.
//
// While the object lives, the test program that loads "orvanhapi.dll" gets it: its exports and handlers lead to the
// function members below, which answer from the data members unless a test replaces them. One object at a time; it must
// outlive every object that holds the library. Set it up before other threads call; the calls may come from any thread,
// and an exception that a function throws passes to the caller.
//
// A call that arrives while the library is not loaded fails the test.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/OrvanHbaApi.h"
#include "tests/kit/ImportPatch.h"
#include "tests/unit/MutexProbe.h"

class FakeHbaLibrary {
  public:
    FakeHbaLibrary();
    ~FakeHbaLibrary();
    FakeHbaLibrary(const FakeHbaLibrary&) = delete;
    FakeHbaLibrary& operator=(const FakeHbaLibrary&) = delete;

    // --- The exports
    std::function<HBA_STATUS()> InitializeLibrary;
    std::function<HBA_STATUS(HBA_ENTRYPOINTSV2*)> RegisterLibraryV2;
    std::function<HBA_STATUS(const wchar_t*, HBA_UINT32*, char*)> GetFCoEControllerInfo;
    std::function<HBA_HANDLE(const char*)> GetFCoEControllerHandle;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_FC_NIC_PROPERTIES*)> GetFCAndNICProperties;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_TARGET_LIST*)> GetTargetList;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_VLAN_LIST*)> GetVlanIdList;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_WWN, HBA_UINT64, void*, HBA_UINT32, void*, HBA_UINT32)> SendReadCapacity16;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_UINT32)> RescanScsiBus;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_WWN*)> GeneratePortWWN;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_FC_PORT*)> CreateVPort;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_FC_PORT*)> RemoveVPort;
    std::function<HBA_STATUS(HBA_HANDLE, ORVAN_FC_PORT_LIST*)> GetFCPortList;

    // --- The handlers of the SNIA table
    std::function<void(HBA_HANDLE)> CloseAdapter;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_ADAPTERATTRIBUTES*)> GetAdapterAttributes;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES*)> GetAdapterPortAttributes;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS*)> GetPortStatistics;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_FCPTARGETMAPPING*)> GetFcpTargetMapping;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_WWN, HBA_UINT64, HBA_UINT8, HBA_UINT32, void*, HBA_UINT32, void*,
                             HBA_UINT32)>
        ScsiInquiry;
    std::function<HBA_STATUS(HBA_HANDLE, HBA_WWN, HBA_WWN, HBA_UINT64, void*, HBA_UINT32*, HBA_UINT8*, void*,
                             HBA_UINT32*)>
        ScsiReadCapacityV2;

    // --- What the functions answer by default
    HBA_HANDLE handle = 7;
    HBA_UINT32 controller = 3;
    std::string adapterName = "orvan-fcoe-0";
    HBA_ADAPTERATTRIBUTES adapterAttributes{};
    HBA_PORTATTRIBUTES portAttributes{};
    HBA_PORTSTATISTICS portStatistics{};
    ORVAN_FC_NIC_PROPERTIES properties{};
    HBA_WWN generatedWwpn{{0x20, 0x01, 0, 0, 0, 0, 0, 1}};
    std::vector<ORVAN_TARGET_ENTRY> targets;
    std::vector<HBA_UINT32> vlans;
    std::vector<ORVAN_FC_PORT> ports;
    std::vector<HBA_FCPSCSIENTRY> mappings;
    // Copied to the response buffer as far as they fit; shorter ones leave the rest of the buffer as it is.
    std::vector<BYTE> inquiryResponse, capacityResponse, capacity16Response;

    // Functions that the library lacks, by the names of the members above: exports are not found, handlers are null.
    std::set<std::string> missing;
    // What happens while the library is freed, before it counts as gone. No exception may leave it.
    std::function<void()> whileFreed;
    // Not 0: the library cannot be loaded, for this reason.
    DWORD loadError = 0;

    // --- What happened
    // One entry a call: the member's name and its arguments, separated by blanks; names as 16 hexadecimal digits,
    // numbers in decimal, a list by its input count, other pointers left out: "CreateVPort 7 2001000000000001".
    // Loading and freeing are "LoadLibrary" and "FreeLibrary".
    std::vector<std::string> calls;
    // The exports that were asked for.
    std::vector<std::string> lookups;
    std::atomic<int> loads{0};
    std::atomic<int> frees{0};

    // The mutex that guards the library; private to this process while the object lives.
    MutexProbe mutex;

    // The frees first: what is loaded for the whole time counts so whatever is loaded and freed besides.
    bool Loaded() const {
        const int freed = frees;
        return loads > freed;
    }
    // How often a function was called.
    int CallsOf(std::string_view function) const;
    void ClearCalls();

    // Answers a list call as the library does: as many entries as fit, and the count that exists.
    template <class List, class Entry> static HBA_STATUS FillList(List* list, const std::vector<Entry>& existing) {
        const std::size_t room = list->NumberOfEntries;
        list->NumberOfEntries = static_cast<HBA_UINT32>(existing.size());
        if (!existing.empty())
            std::memcpy(reinterpret_cast<BYTE*>(list) + offsetof(List, entry), existing.data(),
                        std::min(room, existing.size()) * sizeof(Entry));
        return existing.size() > room ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
    }
    // The table of the handlers that are not missing.
    HBA_ENTRYPOINTSV2 Handlers() const;

    // For the functions behind the exports.
    static FakeHbaLibrary& Current();
    void Record(std::string call);
    HMODULE OnLoad();
    FARPROC OnLookup(const char* name);
    void OnFree();

  private:
    mutable std::mutex m_lock; // guards the two logs
    ImportPatch m_load, m_lookup, m_free;
};
