// The SNIA registration function and its table.
#include <array>
#include <utility>

#include "simulator/orvanhapi/LibraryCall.h"
#include "simulator/orvanhapi/SniaHandlers.h"

namespace {

constexpr std::size_t HANDLER_COUNT = sizeof(HBA_ENTRYPOINTSV2) / sizeof(HBA_UNUSEDFUNC);
constexpr std::size_t FIRST_HANDLER = sim::FunctionIndex("GetVersion");
static_assert(sim::FunctionIndex("SendRLS") == FIRST_HANDLER + HANDLER_COUNT - 1, "one name for each handler");

// A handler that the library does not implement. The C convention leaves the arguments, whatever they are, to the
// caller.
template <std::size_t Index> HBA_STATUS NotSupported() {
    orvanhapi::LibraryCall call(sim::Function(sim::FUNCTION_NAMES[FIRST_HANDLER + Index].data()));
    const auto refusal = call.Refusal();
    return call.Done(refusal.value_or(HBA_STATUS_ERROR_NOT_SUPPORTED));
}

template <class To, class From> To Cast(From handler) {
    return reinterpret_cast<To>(reinterpret_cast<void*>(handler));
}

template <std::size_t... Index> HBA_ENTRYPOINTSV2 MakeTable(std::index_sequence<Index...>) {
    std::array<HBA_UNUSEDFUNC, HANDLER_COUNT> handlers{Cast<HBA_UNUSEDFUNC>(&NotSupported<Index>)...};
    HBA_ENTRYPOINTSV2 table;
    std::memcpy(&table, handlers.data(), sizeof table);
    table.GetVersionHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::GetVersionHandler);
    table.LoadLibraryHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::LoadLibraryHandler);
    table.FreeLibraryHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::FreeLibraryHandler);
    table.GetNumberOfAdaptersHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::GetNumberOfAdapters);
    table.GetAdapterNameHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::GetAdapterName);
    table.OpenAdapterHandler = Cast<HBA_UNUSEDFUNC>(&orvanhapi::OpenAdapter);
    table.CloseAdapterHandler = orvanhapi::CloseAdapter;
    table.GetAdapterAttributesHandler = orvanhapi::GetAdapterAttributes;
    table.GetAdapterPortAttributesHandler = orvanhapi::GetAdapterPortAttributes;
    table.GetPortStatisticsHandler = orvanhapi::GetPortStatistics;
    table.GetFcpTargetMappingHandler = orvanhapi::GetFcpTargetMapping;
    table.ScsiInquiryHandler = orvanhapi::ScsiInquiry;
    table.ScsiReadCapacityV2Handler = orvanhapi::ScsiReadCapacityV2;
    return table;
}

} // namespace

extern "C" HBA_STATUS HBA_RegisterLibraryV2(HBA_ENTRYPOINTSV2* table) {
    orvanhapi::LibraryCall call("HBA_RegisterLibraryV2");
    const auto refusal = call.Refusal();
    if (refusal)
        return call.DoneEarly(refusal);
    if (!table)
        return call.Done(HBA_STATUS_ERROR_ARG);
    *table = MakeTable(std::make_index_sequence<HANDLER_COUNT>());
    // A handler that a fault calls missing is null in the table.
    std::array<HBA_UNUSEDFUNC, HANDLER_COUNT> handlers;
    std::memcpy(handlers.data(), table, sizeof *table);
    for (std::size_t i = 0; i < HANDLER_COUNT; ++i) {
        if (call.Scene().IsMissing(FIRST_HANDLER + i))
            handlers[i] = nullptr;
    }
    std::memcpy(table, handlers.data(), sizeof *table);
    return call.Done(HBA_STATUS_OK);
}
