// CHBAAPIInt, the only door to the vendor HBA library.
#pragma once

#include <atomic>
#include <memory>

#include <windows.h>

#include "FcoeAgent/HbaApi.h"
#include "FcoeAgent/OrvanHbaApi.h"
#include "FcoeAgent/QelString.h"

struct VendorBinding;
struct VendorLibrary;

// Loads orvanhapi.dll, binds it, and makes every call to it, one operation a call.
//
// Rules for every operation that does not say otherwise: handles are passed through unexamined; a library status is
// logged and never translated; TRUE means that the library did it, FALSE that it refused or could not be asked. Buffers
// and records belong to the caller; outputs other than those that the library was handed are untouched on failure.
//
// Threading: every operation may be called from any thread. The two InitHBAAPIMod, DeInitHBAAPIMod, GetAdapterHandle
// and the virtual-port calls hold the cross-process mutex "Global\CHBAAPINTMUT" while they work. Each of them waits for
// it at most 10 s, so a caller of two may wait twice, and fails without it; only DeInitHBAAPIMod goes on all the same.
// A call that is inside the library keeps it loaded: when DeInitHBAAPIMod runs meanwhile, the last call to return
// unloads it, with the mutex or without.
//
// Errors: nothing is thrown but what the library or memory exhaustion throws; the mutex is released on that path, too.
// Unloading needs no memory.
class CHBAAPIInt {
  public:
    // Size of an adapter name in wide characters, terminator included.
    static constexpr int NAME_SIZE = 260;

    CHBAAPIInt();
    ~CHBAAPIInt() = default; // gives up the library if DeInitHBAAPIMod did not
    CHBAAPIInt(const CHBAAPIInt&) = delete;
    CHBAAPIInt& operator=(const CHBAAPIInt&) = delete;

    // --- Binding and adapter handles

    // Loads and binds the library.
    [[nodiscard]] BOOL InitHBAAPIMod();
    // Binds the library, loading it when needed, and yields the library's name of the adapter.
    //   pszDevice      "\DEVICE\" and the adapter's device name
    //   bEthInst       FALSE: nothing is done, the result is FALSE
    //   pszAdapterName buffer of NAME_SIZE characters
    [[nodiscard]] BOOL InitHBAAPIMod(const wchar_t* pszDevice, BOOL bEthInst, wchar_t* pszAdapterName);
    // Unloads the library. Always TRUE, and never throws.
    BOOL DeInitHBAAPIMod();
    // The library's handle of the adapter with that name; FALSE and untouched when there is none.
    [[nodiscard]] BOOL GetAdapterHandle(const wchar_t* pszAdapterName, HBA_HANDLE& hAdapter);
    // Closes the handle and sets it to 0. Always TRUE.
    BOOL CloseAdapHandle(HBA_HANDLE& hAdapter);

    // --- Adapter and port queries

    // The first three are TRUE without a call when the library is not bound. A call that fails leaves in the records of
    // the first two what the library wrote there.
    BOOL GetAdapterAtrributes(HBA_HANDLE hAdapter, HBA_ADAPTERATTRIBUTES& attributes);
    BOOL GetAdapterPortAttributes(HBA_HANDLE hAdapter, HBA_PORTATTRIBUTES& attributes);
    // The record is zero unless the library filled it.
    BOOL GetPortStatistics(HBA_HANDLE hAdapter, HBA_PORTSTATISTICS& statistics);
    // TRUE also when the library has no such function, and after a failed call when a support setting forces one of the
    // record's flags: the flag is set then, and the rest of the record is what it was or what the library left there.
    BOOL GetFCEthernetProperties(HBA_HANDLE hAdapter, ORVAN_FC_NIC_PROPERTIES* pProperties);
    // List reads. The list's count says what its buffer holds. bMoreData and ulCount are always set: bMoreData when the
    // buffer was too small and the library told how many entries exist, which is then ulCount; on success ulCount is
    // the list's count; else 0.
    BOOL GetTargetsInfo(HBA_HANDLE hAdapter, HBA_FCPTARGETMAPPING* pTargetsInfo, BOOL& bMoreData, ULONG& ulCount);
    BOOL GetTargetList(HBA_HANDLE hAdapter, ORVAN_TARGET_LIST* pTargetList, BOOL& bMoreData, ULONG& ulCount);
    BOOL GetVLANList(HBA_HANDLE hAdapter, ORVAN_VLAN_LIST* pVLANList, BOOL& bMoreData, ULONG& ulCount);

    // --- SCSI commands and rescan. Sizes in bytes.

    // INQUIRY. TRUE without a call when the library is not bound: the caller judges the response.
    BOOL RetrieveSCSIInfo(HBA_HANDLE hAdapter, HBA_WWN targetPort, HBA_UINT64 ullLun, HBA_UINT8 byEvpd,
                          HBA_UINT32 ulPageCode, void* pRspBuf, HBA_UINT32 ulRspBufSize, void* pSenseBuf,
                          HBA_UINT32 ulSenseBufSize);
    // READ CAPACITY; repeated at once, at most three times, while the answer is CHECK CONDITION.
    BOOL RetrieveLUNCapacityV2(HBA_HANDLE hAdapter, HBA_WWN hbaPort, HBA_WWN targetPort, HBA_UINT64 ullLun,
                               void* pRspBuf, HBA_UINT32 ulRspBufSize, void* pSenseBuf, HBA_UINT32 ulSenseBufSize);
    // READ CAPACITY (16). TRUE without a call when the library cannot be asked: the caller judges the response.
    BOOL RetrieveLUNCapacity16(HBA_HANDLE hAdapter, HBA_WWN targetPort, HBA_UINT64 ullLun, void* pRspBuf,
                               HBA_UINT32 ulRspBufSize, void* pSenseBuf, HBA_UINT32 ulSenseBufSize);
    // Rescans the adapter's bus. TRUE when the library has no such function.
    BOOL RefreshTargetInfo(HBA_HANDLE hAdapter);

    // --- Virtual ports

    BOOL GenerateVportWwpn(HBA_HANDLE hAdapter, HBA_WWN* pWwpn);
    // ulStatus is set when the library refuses.
    BOOL CreateVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request, HBA_STATUS& ulStatus);
    BOOL RemoveVport(HBA_HANDLE hAdapter, ORVAN_FC_PORT& request);
    // ulCount is set on success and when the buffer was too small.
    BOOL GetPorts(HBA_HANDLE hAdapter, ORVAN_FC_PORT_LIST* pPorts, ULONG& ulCount);
    // 0 on any failure.
    LONG GetPortsCount(HBA_HANDLE hAdapter);

  private:
    using Library = std::shared_ptr<const VendorLibrary>;

    // What a call works with from its start to its end.
    VendorBinding GetBinding() const;
    bool LoadModule();
    // Initializes the library and registers its handlers; the messages are the calling operation's.
    BOOL Bind(const wchar_t* pszNotConverted, const wchar_t* pszNotInitialized);
    BOOL GetAdapterName(const wchar_t* pszDevice, wchar_t* pszAdapterName);

    const Library m_pNoLibrary;                 // ready-made, so that unloading needs no memory
    std::atomic<Library> m_pLibrary;            // never null; the old one goes when the last call that uses it is over
    std::atomic<bool> m_bEntryPtsInited{false}; // whether the handlers of version 1 may be called
    std::atomic<bool> m_bLibraryReady{false};   // survives unloading
    std::atomic<HBA_UINT32> m_ulController{0};  // number of the controller that was asked for last
};
