#include "bench/Figures.h"

#include "bench/FindFunction.h"
#include "bench/Floor.h"
#include "bench/Measure.h"
#include "bench/Topology.h"
#include "tests/kit/HeapUse.h"

namespace {

void PrintPrice(const char* what, double seconds) {
    fmt::print("  {:<44}  {:>9.2f} us\n", what, seconds * 1e6);
}

std::size_t TextBytes(const std::wstring& text) {
    return text.capacity() > 7 ? (text.capacity() + 1) * sizeof(wchar_t) : 0; // short texts lie in the string itself
}

std::size_t RecordBytes(const QEL_FCOE_LUN& record) {
    std::size_t bytes = sizeof record;
    for (const std::wstring* text : std::initializer_list<const std::wstring*>{
             &record.strOsDeviceName, &record.strCapacity, &record.strBlockSize, &record.strTargetPortWWN,
             &record.strOwningPortWWN, &record.strInitiatorPortWWN, &record.strFabricName, &record.strDeviceId,
             &record.strSecondId})
        bytes += TextBytes(*text);
    return bytes;
}

void LoadAndFree(const std::filesystem::path& file) {
    FreeLibrary(LoadLibraryW(file.c_str()));
}

} // namespace

void MeasureRequired(const Neighbours& neighbours) {
    ICoreAgentPvt* core = NeedFunction<PFN_GetCoreAgentPvt>(neighbours.coreAgent, "GetCoreAgentPvt")();
    fmt::print("price of required behaviour (agent and floor alike):\n");
    PrintPrice("the library's mutex, opened, taken, given back", MeasureOne(200, [] { const LibraryMutex mutex; }));
    PrintPrice("WaitForApplyDone of the core agent", MeasureOne(200, [&] { core->WaitForApplyDone(0); }));
    PrintPrice("look-up of an export",
               MeasureOne(2000, [&] { GetProcAddress(neighbours.library, "ORVAN_GetFCPortList"); }));
    PrintPrice("time and counter of a log line", MeasureOne(2000, ReadLineTime));
}

void MeasureStart(Machine& machine) {
    machine.Trace(0);
    const auto empty = machine.Module(L"fcoebench_empty.dll");
    fmt::print("start, unload included:\n");
    PrintPrice("an empty module", MeasureOne(3, [&] { LoadAndFree(empty); }));
    PrintPrice("FcoeAgnt.dll, without asking for the agent",
               MeasureOne(3, [&] { LoadAndFree(machine.Module(L"FcoeAgnt.dll")); }));
    PrintPrice("FcoeAgnt.dll and GetFcoeAgent", MeasureOne(3, [&] { const Agent agent(machine); }));
}

void MeasureCached(const Neighbours& neighbours, Machine& machine, unsigned targets, unsigned luns) {
    neighbours.Load(BenchTopology(targets, luns));
    machine.Trace(0);
    Agent agent(machine);
    CQelString adapter = BenchAdapter();
    std::vector<QEL_FCOE_LUN> source;
    agent->EnumerateLUNs(adapter, source, 0); // the clock stands: everything is fresh from now on
    const auto count = static_cast<double>(source.size());
    const Pair pair = MeasureInTurn([] {},
                                    [&] {
                                        std::vector<QEL_FCOE_LUN> records;
                                        agent->EnumerateLUNs(adapter, records, 0);
                                    },
                                    [&] {
                                        std::vector<QEL_FCOE_LUN> records;
                                        for (const QEL_FCOE_LUN& record : source)
                                            records.push_back(record);
                                    });
    ICoreAgentPvt* core = NeedFunction<PFN_GetCoreAgentPvt>(neighbours.coreAgent, "GetCoreAgentPvt")();
    const double wait = MeasureOne(200, [&] { core->WaitForApplyDone(0); });
    fmt::print("cached read of {} LUNs: {:.3f} us each without WaitForApplyDone; copying a record {:.3f} us; more by "
               "{:.3f} us\n",
               source.size(), (pair.agent - wait) / count * 1e6, pair.floor / count * 1e6,
               (pair.agent - wait - pair.floor) / count * 1e6);
}

void MeasureMemory(const Neighbours& neighbours, Machine& machine, unsigned targets, unsigned luns) {
    neighbours.Load(BenchTopology(targets, luns));
    machine.Trace(0);
    Agent agent(machine);
    CQelString adapter = BenchAdapter();
    std::vector<QEL_FCOE_TARGET> reached;
    agent->EnumerateTargets(adapter, reached, 0);
    const std::size_t before = BusyHeapBytes();
    std::size_t record = 0, count = 0;
    {
        std::vector<QEL_FCOE_LUN> records;
        agent->EnumerateLUNs(adapter, records, 0);
        count = records.size();
        record = RecordBytes(records.front());
    }
    const std::size_t kept = BusyHeapBytes() - before;
    fmt::print("memory at {} LUNs: {} bytes kept per LUN; a record is {} bytes; ratio {:.2f}\n", count, kept / count,
               record, double(kept) / static_cast<double>(count) / static_cast<double>(record));
}
