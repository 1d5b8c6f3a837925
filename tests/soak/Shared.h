// What the processes of a soak share: the newest topology, the state of the DCB service, the history of the virtual
// ports, and each child's figures.
#pragma once

#include <atomic>
#include <string>

#include <windows.h>

namespace soak {

constexpr unsigned CHILDREN = 2;
constexpr unsigned WORKERS = 8; // threads of each child
constexpr unsigned ADAPTERS = 6;

enum class Op {
    EnumerateHBAs,
    EnumerateFabrics,
    EnumeratePorts,
    EnumerateTargets,
    EnumerateVLANs,
    EnumerateLUNs,
    EnumerateStatistics,
    Uninstall,
    CreateVPort,
    DeleteVPort,
    GenerateVPortWWPN,
    RefreshTargets,
    GetFcoeAgent,
};
constexpr const char* OPERATION_NAMES[] = {
    "EnumerateHBAs",     "EnumerateFabrics",    "EnumeratePorts", "EnumerateTargets", "EnumerateVLANs",
    "EnumerateLUNs",     "EnumerateStatistics", "Uninstall",      "CreateVPort",      "DeleteVPort",
    "GenerateVPortWWPN", "RefreshTargets",      "GetFcoeAgent",
};
constexpr unsigned OPERATIONS = std::size(OPERATION_NAMES);

// One state of the simulated hardware. The first `present` adapters exist; what an adapter is and has follows from its
// number and its version.
struct Generation {
    long long number = 0;
    unsigned present = 0;
    struct Adapter {
        unsigned version = 0;
        bool fcoe = true;
        bool operator==(const Adapter&) const = default;
    } adapters[ADAPTERS];
};

// The DCB service goes round through these, one step at a time.
enum class Dcb : long { Running, Stopping, Stopped, Starting };
constexpr Dcb DcbOf(long step) {
    return static_cast<Dcb>(step % 4);
}

struct OperationFigures {
    std::atomic<long long> calls, checked, exact, mismatches, longest; // longest: microseconds
};

struct Footprint {
    long long heap = 0, handles = 0, threads = 0;
};

// Spins; for a few instructions only.
class SpinLock {
  public:
    void lock() {
        while (m_taken.exchange(1, std::memory_order_acquire))
            SwitchToThread();
    }
    bool try_lock() { return !m_taken.exchange(1, std::memory_order_acquire); }
    void unlock() { m_taken.store(0, std::memory_order_release); }

  private:
    std::atomic<long> m_taken;
};

struct ChildFigures {
    OperationFigures operations[OPERATIONS];
    std::atomic<long long> heartbeat; // tick
    std::atomic<long> dcbStep;        // seen so far
    std::atomic<long long> expectedGeneration;
    std::atomic<long long> generations, restarts, loads, logLines, badLogLines, leftModules;
    Footprint first, last;
    std::atomic<long> measured; // first is valid
    std::atomic<long> finished; // came to its end by itself
};

// The virtual port of one name through the time: every change of it, the last ones.
struct PortChange {
    ULONGLONG from, to; // ticks between which it happened
    bool open;          // it is not over yet
    bool present;       // what it ended with, or will end with if it succeeds
    char name[24];      // empty: not known yet
};
constexpr unsigned PORT_CHANGES = 64;
struct PortHistory {
    unsigned long long count; // changes so far; change i is at i % PORT_CHANGES
    PortChange changes[PORT_CHANGES];
};
constexpr unsigned PORT_SLOTS = 4; // per child and adapter; the last one is for generated names

struct SharedState {
    std::atomic<long> stop;
    std::atomic<long> dcbStep;
    std::atomic<long long> announcedNumber;  // of the generation that comes next, or is in the world
    std::atomic<long long> generationNumber; // of the one in the world
    SpinLock lock;                           // for what follows
    Generation generation;
    PortHistory ports[ADAPTERS][CHILDREN][PORT_SLOTS];
    ChildFigures children[CHILDREN];
};

// A named block of memory with the state in it, zeros at first.
class SharedMemory {
  public:
    explicit SharedMemory(const std::wstring& name);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    SharedState* operator->() const { return m_state; }
    SharedState& operator*() const { return *m_state; }

  private:
    HANDLE m_mapping;
    SharedState* m_state;
};

} // namespace soak
