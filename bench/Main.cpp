// ./fcoe bench: what an enumeration costs through the agent, against a floor that makes the same library calls with the
// same buffers and fills the same records, and nothing else. docs/benchmark.md tells how to read the table.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "bench/Figures.h"
#include "bench/Floor.h"
#include "bench/Machine.h"
#include "bench/Measure.h"
#include "bench/Neighbours.h"
#include "bench/Topology.h"

namespace {

struct Operation {
    const char* name;
    std::function<std::size_t(Agent&)> agent; // the number of records
    std::function<std::size_t(Floor&)> floor;
};

template <class Record>
Operation Describe(const char* name, BOOL (CQelFcoeAgentIntf::*agent)(CQelString&, std::vector<Record>&, ULONG64),
                   void (Floor::*floor)(std::vector<Record>&)) {
    return {name,
            [agent](Agent& a) {
                CQelString adapter = BenchAdapter();
                std::vector<Record> records;
                ((*a.operator->()).*agent)(adapter, records, 0);
                return records.size();
            },
            [floor](Floor& f) {
                std::vector<Record> records;
                (f.*floor)(records);
                return records.size();
            }};
}

const std::vector<Operation>& Operations() {
    static const std::vector<Operation> operations{
        Describe("fabrics", &CQelFcoeAgentIntf::EnumerateFabrics, &Floor::Fabrics),
        Describe("ports", &CQelFcoeAgentIntf::EnumeratePorts, &Floor::Ports),
        Describe("targets", &CQelFcoeAgentIntf::EnumerateTargets, &Floor::Targets),
        Describe("luns", &CQelFcoeAgentIntf::EnumerateLUNs, &Floor::Luns),
        Describe("vlans", &CQelFcoeAgentIntf::EnumerateVLANs, &Floor::Vlans),
        Describe("statistics", &CQelFcoeAgentIntf::EnumerateStatistics, &Floor::Statistics)};
    return operations;
}

// Writes as many lines of the same length as the agent logged, each flushed, and reads the time and the counter that
// each of them has to show.
class LogFloor {
  public:
    LogFloor(const std::filesystem::path& file, LogVolume volume)
        : m_lines(volume.lines), m_line(volume.lines ? volume.bytes / volume.lines - 1 : 0, 'x'),
          m_file(_wfopen(file.c_str(), L"w")) {
        m_line += '\n';
    }
    ~LogFloor() { std::fclose(m_file); }
    LogFloor(const LogFloor&) = delete;
    LogFloor& operator=(const LogFloor&) = delete;
    void Write() {
        for (std::size_t i = 0; i < m_lines; ++i) {
            ReadLineTime();
            std::fwrite(m_line.data(), 1, m_line.size(), m_file);
            std::fflush(m_file);
        }
    }

  private:
    std::size_t m_lines;
    std::string m_line;
    FILE* m_file;
};

unsigned long long AllCalls(const Neighbours& neighbours) {
    unsigned long long sum = 0;
    for (const char* function :
         {"HBA_RegisterLibraryV2", "ORVAN_InitializeLibrary", "ORVAN_GetFCoEControllerInfo",
          "ORVAN_GetFCoEControllerHandle", "ORVAN_GetTargetList", "ORVAN_GetVlanIdList", "ORVAN_GetFCPortList",
          "CloseAdapter", "GetPortStatistics", "GetFcpTargetMapping", "ScsiInquiry", "ScsiReadCapacityV2"})
        sum += neighbours.calls(function);
    return sum;
}

void MeasureSize(const Neighbours& neighbours, Machine& machine, const std::string& only, unsigned targets,
                 unsigned luns, bool log) {
    neighbours.Load(BenchTopology(targets, luns));
    machine.Trace(log ? 1 : 0);
    Agent agent(machine);
    Floor floor(neighbours.library, neighbours.coreAgent);
    for (const auto& operation : Operations()) {
        if (!only.empty() && only != operation.name)
            continue;
        operation.agent(agent); // the adapter is opened for the first time
        agent.Age();
        neighbours.reset();
        const auto logBefore = MeasureLog(machine.LogFile());
        const std::size_t records = operation.agent(agent);
        const auto logAfter = MeasureLog(machine.LogFile());
        const auto agentCalls = AllCalls(neighbours);
        neighbours.reset();
        const std::size_t same = operation.floor(floor);
        const auto floorCalls = AllCalls(neighbours);
        if (records != same)
            throw std::runtime_error(
                fmt::format("{}: the agent gives {} records, the floor {}", operation.name, records, same));
        LogFloor lines(machine.FloorFile(),
                       log ? LogVolume{logAfter.lines - logBefore.lines, logAfter.bytes - logBefore.bytes}
                           : LogVolume{});
        const Pair pair = MeasureInTurn([&] { agent.Age(); }, [&] { operation.agent(agent); },
                                        [&] {
                                            operation.floor(floor);
                                            lines.Write();
                                        });
        fmt::print("{:>6}  {:<3}  {:<10}  {:>8}  {:>11.1f}  {:>11.1f}  {:>5.2f}  {:>9}  {:>9}{}\n", targets * luns,
                   log ? "on" : "off", operation.name, records, pair.agent * 1e6, pair.floor * 1e6, pair.ratio,
                   agentCalls, floorCalls, agentCalls == floorCalls ? "" : "  calls differ");
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) try {
    bool large = false;
    std::string only;
    CLI::App options("What an operation costs through the agent, against the same library calls made directly.");
    options.add_flag("--large", large, "also with 65536 LUNs");
    options.add_option("--operation", only, "this one alone");
    std::vector<unsigned> sizes{1, 4, 16, 64}; // targets, and LUNs of each
    std::vector<bool> logs{false, true};
    options.add_option("--size", sizes, "numbers of targets, with as many LUNs each")->delimiter(',');
    options.add_flag_callback(
        "--log-off", [&] { logs = {false}; }, "with the log off alone");
    options.add_flag_callback(
        "--log-on", [&] { logs = {true}; }, "with the log on alone");
    CLI11_PARSE(options, argc, argv);

    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    Machine machine(std::filesystem::path(program).parent_path());
    const Neighbours neighbours(machine);
    if (large)
        sizes.push_back(256);

    fmt::print("{:>6}  {:<3}  {:<10}  {:>8}  {:>11}  {:>11}  {:>5}  {:>9}  {:>9}\n", "LUNs", "log", "operation",
               "records", "agent us", "floor us", "ratio", "calls", "floor's");
    fmt::print("{:->6}  {:->3}  {:->10}  {:->8}  {:->11}  {:->11}  {:->5}  {:->9}  {:->9}\n", "", "", "", "", "", "",
               "", "", "");
    for (const bool log : logs)
        for (const unsigned size : sizes)
            MeasureSize(neighbours, machine, only, size, size, log);
    if (!only.empty())
        return 0;
    fmt::print("\n");
    MeasureRequired(neighbours);
    MeasureStart(machine);
    for (const unsigned size : sizes)
        MeasureCached(neighbours, machine, size, size);
    for (const unsigned size : sizes)
        MeasureMemory(neighbours, machine, size, size);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "fcoebench: %s\n", error.what());
    return 1;
}
