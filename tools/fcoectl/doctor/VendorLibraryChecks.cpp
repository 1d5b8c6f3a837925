// The adapter maker's library: where it is, what it exports, what it registers.
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tools/fcoectl/FileVersion.h"
#include "tools/fcoectl/LibrarySearch.h"
#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/fcoectl/doctor/ImageFile.h"
#include "tools/log/LibraryStatus.h"

namespace fcoectl {
namespace {

constexpr wchar_t LIBRARY[] = L"orvanhapi.dll";
constexpr wchar_t MUTEX[] = L"Global\\CHBAAPINTMUT";
constexpr DWORD PATIENCE = 10000; // milliseconds, as the agent has it
constexpr char MAKER[] = "Install the adapter maker's software anew, in the version that the suite names.";

// What lacks without an export.
struct Export {
    const char* name;
    const char* lacks;
};

constexpr Export EXPORTS[] = {
    {"HBA_RegisterLibraryV2", "everything that its table has"},
    {"ORVAN_InitializeLibrary", "its initialization"},
    {"ORVAN_GetFCoEControllerInfo", "all adapters"},
    {"ORVAN_GetFCoEControllerHandle", "all adapters"},
    {"ORVAN_GetFCAndNICProperties", "PCI locations"},
    {"ORVAN_GetTargetList", "targets"},
    {"ORVAN_GetVlanIdList", "VLANs"},
    {"ORVAN_GetFCPortList", "ports and fabrics"},
    {"ORVAN_SendReadCapacity16", "capacities of large LUNs"},
    {"ORVAN_RescanScsiBus", "rescans"},
    {"ORVAN_GeneratePortWWN", "generated port names"},
    {"ORVAN_CreateVPort", "new virtual ports"},
    {"ORVAN_RemoveVPort", "the deletion of virtual ports"},
};

struct Handler {
    const char* name;
    bool (*missing)(const HBA_ENTRYPOINTSV2&);
    const char* lacks;
};

constexpr Handler HANDLERS[] = {
    {"GetAdapterAttributes", [](const HBA_ENTRYPOINTSV2& t) { return !t.GetAdapterAttributesHandler; }, "models"},
    {"GetAdapterPortAttributes", [](const HBA_ENTRYPOINTSV2& t) { return !t.GetAdapterPortAttributesHandler; },
     "port names and states"},
    {"GetPortStatistics", [](const HBA_ENTRYPOINTSV2& t) { return !t.GetPortStatisticsHandler; }, "counters"},
    {"GetFcpTargetMapping", [](const HBA_ENTRYPOINTSV2& t) { return !t.GetFcpTargetMappingHandler; }, "LUNs"},
    {"ScsiInquiry", [](const HBA_ENTRYPOINTSV2& t) { return !t.ScsiInquiryHandler; }, "vendors and serial numbers"},
    {"ScsiReadCapacityV2", [](const HBA_ENTRYPOINTSV2& t) { return !t.ScsiReadCapacityV2Handler; }, "capacities"},
    {"CloseAdapter", [](const HBA_ENTRYPOINTSV2& t) { return !t.CloseAdapterHandler; }, "the closing of adapters"},
};

// The mutex under which the agent's processes load and initialize the library.
class VendorMutex {
  public:
    VendorMutex() : m_mutex(CreateMutexW(nullptr, FALSE, MUTEX)) {
        if (!m_mutex && GetLastError() == ERROR_ACCESS_DENIED)
            m_mutex = OpenMutexW(SYNCHRONIZE, FALSE, MUTEX);
        m_error = m_mutex ? ERROR_SUCCESS : GetLastError();
        if (m_mutex)
            m_wait = WaitForSingleObject(m_mutex, PATIENCE);
    }
    ~VendorMutex() {
        if (IsHeld())
            ReleaseMutex(m_mutex);
        if (m_mutex)
            CloseHandle(m_mutex);
    }
    VendorMutex(const VendorMutex&) = delete;
    VendorMutex& operator=(const VendorMutex&) = delete;

    bool IsHeld() const { return m_wait == WAIT_OBJECT_0 || m_wait == WAIT_ABANDONED; }
    bool WasAbandoned() const { return m_wait == WAIT_ABANDONED; }
    DWORD Error() const { return m_error; }

  private:
    HANDLE m_mutex;
    DWORD m_error = 0;
    DWORD m_wait = WAIT_FAILED;
};

template <class Function> Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

void CheckExports(Examination& examination, HMODULE library) {
    std::vector<std::string> missing;
    for (const Export& wanted : EXPORTS)
        if (!GetProcAddress(library, wanted.name))
            missing.push_back(fmt::format("{} ({})", wanted.name, wanted.lacks));
    if (missing.empty())
        examination.Ok(fmt::format("All {} functions are exported.", std::size(EXPORTS)));
    else
        examination.Fail(fmt::format("The library lacks {}.", fmt::join(missing, ", ")), MAKER);
}

// Initializes the library as the agent does and has it hand out its table.
void CheckHandlers(Examination& examination, HMODULE library) {
    const VendorMutex mutex;
    if (!mutex.IsHeld())
        return; // told already
    const auto initialize = Find<decltype(&ORVAN_InitializeLibrary)>(library, "ORVAN_InitializeLibrary");
    const auto registerTable = Find<decltype(&HBA_RegisterLibraryV2)>(library, "HBA_RegisterLibraryV2");
    HBA_ENTRYPOINTSV2 table{};
    try {
        const HBA_STATUS status = initialize ? initialize() : HBA_STATUS_OK;
        if (status != HBA_STATUS_OK)
            return examination.Fail(
                fmt::format("The library cannot be initialized: {}.", agentlog::LibraryStatusText(status)),
                "See that an adapter of the maker's is there and its driver runs.");
        if (!registerTable)
            return;
        registerTable(&table);
    } catch (...) {
        return examination.Fail("The library threw an exception when it was initialized.", MAKER);
    }
    std::vector<std::string> missing;
    for (const Handler& handler : HANDLERS)
        if (handler.missing(table))
            missing.push_back(fmt::format("{} ({})", handler.name, handler.lacks));
    if (missing.empty())
        examination.Ok(fmt::format("All {} handlers are registered.", std::size(HANDLERS)));
    else
        examination.Fail(fmt::format("The library registers no {}.", fmt::join(missing, ", ")), MAKER);
}

} // namespace

void CheckVendorMutex(Examination& examination) {
    const VendorMutex mutex;
    if (mutex.WasAbandoned())
        examination.Warn("A process that held the vendor library's mutex died.", "It serves again now.");
    else if (mutex.IsHeld())
        examination.Ok("This account can wait for the vendor library's mutex, and nobody holds it.");
    else if (mutex.Error() != ERROR_SUCCESS)
        examination.Fail(
            fmt::format("This account may not wait for the vendor library's mutex: {}", SystemMessage(mutex.Error())),
            "Run the agent's hosts under accounts that may; see docs/host-guide.md, Accounts.");
    else
        examination.Fail("Another process has held the vendor library's mutex for ten seconds.",
                         "Find the host of the agent that hangs, and end it.");
}

void CheckVendorLibrary(Examination& examination) {
    std::optional<LibrarySearch> search;
    try {
        search.emplace(examination.agentFile, FromUtf8(examination.options.libraryFolder));
    } catch (const Failure& failure) {
        return examination.Fail(failure.what(), "Check the folder after --library-dir.");
    }
    const HMODULE library = LoadLibraryW(LIBRARY);
    if (!library) {
        const DWORD error = GetLastError();
        return examination.Fail(
            fmt::format("{} cannot be loaded: {} Nothing can be read of any adapter.", ToUtf8(LIBRARY),
                        SystemMessage(error)),
            error == ERROR_BAD_EXE_FORMAT
                ? "What is found is not for 64-bit x86; install the maker's 64-bit software."
                : "Put it beside the agent or the program, or into System32, or name its folder with --library-dir.");
    }
    wchar_t file[MAX_PATH] = L"";
    GetModuleFileNameW(library, file, MAX_PATH);
    examination.Ok(fmt::format("\"{}\", version {}.", ToUtf8(file), FileVersion(file).value_or("unknown")));
    CheckExports(examination, library);
    CheckHandlers(examination, library);
    FreeLibrary(library);
}

} // namespace fcoectl
