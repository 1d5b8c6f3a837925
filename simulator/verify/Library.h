// The vendor library while it is asked.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "FcoeAgent/OrvanHbaApi.h"
#include "simulator/verify/Answer.h"
#include "simulator/verify/ModuleFile.h"

namespace verify {

// Its functions; null: it lacks one.
struct LibraryFunctions {
    decltype(&HBA_RegisterLibraryV2) registerLibrary = nullptr;
    decltype(&ORVAN_InitializeLibrary) initialize = nullptr;
    decltype(&ORVAN_GetFCoEControllerInfo) controllerInfo = nullptr;
    decltype(&ORVAN_GetFCoEControllerHandle) controllerHandle = nullptr;
    decltype(&ORVAN_GetFCAndNICProperties) properties = nullptr;
    decltype(&ORVAN_GetTargetList) targetList = nullptr;
    decltype(&ORVAN_GetVlanIdList) vlanList = nullptr;
    decltype(&ORVAN_SendReadCapacity16) readCapacity16 = nullptr;
    decltype(&ORVAN_GetFCPortList) portList = nullptr;
    HBA_ENTRYPOINTSV2 table{};
};

// An adapter that is open.
struct OpenedAdapter {
    std::string identifier;
    std::string name; // the library's
    HBA_HANDLE handle = HBA_HANDLE_INVALID;
    HBA_WWN portWwn{};
};

struct Library {
    Asker& asker;
    LibraryFunctions functions;
    std::vector<OpenedAdapter> adapters;
    std::vector<Reading> readings; // that go well and may be made by several threads at once
};

// A reading of something that a handle stands for, with the room that the first asking has.
struct HandleReading {
    std::string_view function;
    std::size_t size;
    std::function<HBA_STATUS(HBA_HANDLE, void*)> call;
    bool underMutex = false;
};
std::vector<HandleReading> HandleReadings(const LibraryFunctions& functions);

// The mutex that all users of the library share on a machine, for the calls that are made under it. Throws
// std::runtime_error when it cannot be had.
class VendorMutex {
  public:
    explicit VendorMutex(Asker& asker, bool needed = true);
    ~VendorMutex();
    VendorMutex(const VendorMutex&) = delete;
    VendorMutex& operator=(const VendorMutex&) = delete;

  private:
    HANDLE m_mutex = nullptr;
};

// After a process that may have held it: the next who waits shall not find it abandoned, which the agent takes for a
// failure.
void MendVendorMutex();

// The parts of the questions, in this order.
void AskExports(Library& library, const CQelModule& module);
void OpenAdapters(Library& library, const CQelModule& module);
void AskRecords(Library& library, OpenedAdapter& adapter);
void AskLists(Library& library, const OpenedAdapter& adapter);
void AskForHandle0(Library& library);
void CloseAdapters(Library& library);

// Of the devices behind an adapter.
void AskTarget(Library& library, const OpenedAdapter& adapter, const ORVAN_TARGET_ENTRY& target, bool byThreads);
void AskUnit(Library& library, const OpenedAdapter& adapter, const HBA_WWN& initiator, const HBA_FCPID& unit,
             bool byThreads);

std::string TextOf(const HBA_WWN& wwn);

} // namespace verify
