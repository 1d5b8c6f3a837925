// What the library hands out before any adapter is asked for.
#include <array>

#include <fmt/format.h>

#include "simulator/verify/GuardedBuffer.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

struct Handler {
    std::string_view function;
    std::size_t place; // in the table
};

#define HANDLER(function)                                                                                              \
    Handler {                                                                                                          \
#function, offsetof(HBA_ENTRYPOINTSV2, function##Handler)                                                      \
    }
constexpr Handler HANDLERS[] = {
    HANDLER(CloseAdapter),      HANDLER(GetAdapterAttributes), HANDLER(GetAdapterPortAttributes),
    HANDLER(GetPortStatistics), HANDLER(GetFcpTargetMapping),  HANDLER(ScsiInquiry),
    HANDLER(ScsiReadCapacityV2)};
#undef HANDLER

template <class F> void Find(Asker& asker, const CQelModule& module, const char* name, F& function) {
    function = ExportOf<F>(module, name);
    if (!function)
        asker.Tell("no_export", name, {}, "there is no such export");
}

void Initialize(Library& library) {
    if (!library.functions.initialize)
        return;
    const auto status = [&](HBA_STATUS& to) {
        const VendorMutex mutex(library.asker);
        return library.asker.Ask("ORVAN_InitializeLibrary", {}, [&] { to = library.functions.initialize(); });
    };
    HBA_STATUS first = HBA_STATUS_OK, second = HBA_STATUS_OK;
    if (!status(first) || !status(second))
        return;
    if (SameStatus(library.asker, {"ORVAN_InitializeLibrary", {}, {}}, first, second) && first != HBA_STATUS_OK)
        library.asker.Tell("status", "ORVAN_InitializeLibrary", {}, fmt::format("status {}", first));
}

void CheckHandlers(Library& library) {
    for (const Handler& handler : HANDLERS) {
        auto* place = reinterpret_cast<char*>(&library.functions.table) + handler.place;
        void* address = nullptr;
        std::memcpy(&address, place, sizeof address);
        if (!address)
            library.asker.Tell("no_handler", handler.function, {}, "null in the table");
        else if (!IsCode(address)) {
            library.asker.Tell("wild_handler", handler.function, {}, "there is no code at its address");
            std::memset(place, 0, sizeof address); // nobody shall call it
        }
    }
}

void Register(Library& library) {
    constexpr std::string_view NAME = "HBA_RegisterLibraryV2";
    if (!library.functions.registerLibrary)
        return;
    const Reading reading{NAME, {}, [&](std::uint8_t fill) {
                              GuardedBuffer table(sizeof(HBA_ENTRYPOINTSV2), fill);
                              const HBA_STATUS status =
                                  library.functions.registerLibrary(table.As<HBA_ENTRYPOINTSV2>());
                              return Answer{status, table.Copy()};
                          }};
    Answer first, second;
    const auto ask = [&](Answer& to) {
        const VendorMutex mutex(library.asker);
        return library.asker.Ask(NAME, {}, [&] { to = reading.read(ZEROS); });
    };
    if (!ask(first) || !ask(second))
        return;
    if (SameStatus(library.asker, reading, first.status, second.status) && first.status != HBA_STATUS_OK)
        library.asker.Tell("status", NAME, {}, fmt::format("status {}", first.status));
    if (first.bytes != second.bytes)
        library.asker.Tell("other_answer", NAME, {}, "the table differs");
    std::memcpy(&library.functions.table, second.bytes.data(), sizeof library.functions.table);
    CheckHandlers(library);
}

} // namespace

void AskExports(Library& library, const CQelModule& module) {
    LibraryFunctions& functions = library.functions;
    Asker& asker = library.asker;
    Find(asker, module, "HBA_RegisterLibraryV2", functions.registerLibrary);
    Find(asker, module, "ORVAN_InitializeLibrary", functions.initialize);
    Find(asker, module, "ORVAN_GetFCoEControllerInfo", functions.controllerInfo);
    Find(asker, module, "ORVAN_GetFCoEControllerHandle", functions.controllerHandle);
    Find(asker, module, "ORVAN_GetFCAndNICProperties", functions.properties);
    Find(asker, module, "ORVAN_GetTargetList", functions.targetList);
    Find(asker, module, "ORVAN_GetVlanIdList", functions.vlanList);
    Find(asker, module, "ORVAN_SendReadCapacity16", functions.readCapacity16);
    Find(asker, module, "ORVAN_GetFCPortList", functions.portList);
    for (const char* name :
         {"ORVAN_RescanScsiBus", "ORVAN_GeneratePortWWN", "ORVAN_CreateVPort", "ORVAN_RemoveVPort"}) {
        void* changing = nullptr; // not called: it changes something
        Find(asker, module, name, changing);
    }
    Initialize(library);
    Register(library);
}

} // namespace verify
