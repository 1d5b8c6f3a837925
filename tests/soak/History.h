// What a child of the soak remembers of its surroundings, and what an answer may therefore be.
//
// The rule of answers. A value may come from a cache whose refresh returned at most 10 ms ago; that refresh may have
// used a cache as old, and so on down the tree: adapter, fabrics, targets, logical units. All times here are ticks of
// the counter by which the caches age. So the window of an answer begins with the first call on the adapter that can
// have filled a cache which the call can have found, and ends when the call has returned.
//
// The answer is exact, that is: the same records with the same values in the same order as the topology yields, when
// within the window the adapter was one and the same, no virtual port of it was created or deleted, no other call
// reopened the adapter's handle beside one that used it, and the agent was not uninstalled or started.
//
// Else every value must be one that the adapter had at some moment of the window, values that one library call yields
// must be of one moment, the entries of one list, too, and nothing comes twice. What may be missing is what the library
// refused meanwhile: lists and their entries, texts of commands that failed. While the agent is uninstalled and
// started, what is read without the library's handlers counts as read, and is zeros.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "tests/soak/Shared.h"
#include "tests/soak/World.h"

namespace soak {

// How an adapter was during a window.
struct Situation {
    struct State {
        bool present = false; // it exists
        bool listed = false;  // and does FCoE
        unsigned version = 0;
        bool operator==(const State&) const = default;
    };
    unsigned adapter = 0;
    bool exact = false;
    bool isSteady = false;    // exact but for the virtual ports
    bool isRestarted = false; // the agent was uninstalled or started
    std::vector<State> states;
    std::vector<std::string> ports;   // virtual ports that there were at some moment
    bool isPortUnknown = false;       // one was created under a name that is not known yet
    bool mayBeNameless = false;       // the agent met the adapter when the core agent did not know it
    std::vector<unsigned> linkStates; // of an online port
};

class History {
  public:
    History(SharedState& shared, unsigned child) : m_shared(shared), m_child(child) {}
    History(const History&) = delete;
    History& operator=(const History&) = delete;

    // A generation can be seen from the first of these on, and its predecessors no more after the second; when that is
    // told late, the next one may have begun.
    void GenerationBegins(const Generation& generation);
    void GenerationIsInUse(long long number);
    // From before the agent is uninstalled until it is started again and the calls that it met are over.
    void RestartBegins();
    void RestartEnds();
    // The module was loaded anew: nothing is left of what it knew.
    void AgentLoaded();
    // The DCB service has settled in a state, or leaves it.
    void DcbIs(Dcb state);

    struct Call {
        unsigned adapters = 0; // bits
        ULONGLONG start = 0;
        unsigned long long index[ADAPTERS] = {};
        unsigned nameless = 0; // adapters, bits, that could be without a name when the call ended
    };
    // A call on the adapters; alone: no other thread of the process makes one on them meanwhile.
    Call Begin(unsigned adapters, bool alone);
    void End(Call& call);
    // How the adapter was during the call's window; asked when the call has returned. since: a tick at which the window
    // begins if it does not begin earlier.
    Situation Look(unsigned adapter, const Call& call, ULONGLONG since = ~0ull);

    // One of the child's own virtual ports.
    void PortChangeBegins(unsigned adapter, unsigned slot, const std::string& name, bool present);
    void PortChangeEnds(unsigned adapter, unsigned slot, const std::string& name, bool present);

  private:
    struct Made {
        ULONGLONG start, end;
        bool open, alone;
    };
    struct Seen {
        Generation generation;
        ULONGLONG from, to;
    };
    static constexpr unsigned CALLS = 1024, GENERATIONS = 256;

    ULONGLONG FindWindow(unsigned adapter, const Call& call, ULONGLONG from, Situation& situation);
    void FindStates(unsigned adapter, ULONGLONG from, Situation& situation);
    void FindPorts(unsigned adapter, ULONGLONG from, Situation& situation);

    SharedState& m_shared;
    const unsigned m_child;
    SpinLock m_lock;
    Seen m_seen[GENERATIONS] = {};
    unsigned long long m_seenCount = 0;
    Made m_calls[ADAPTERS][CALLS] = {};
    unsigned long long m_callCount[ADAPTERS] = {};
    bool m_restarting = false;
    ULONGLONG m_restartEnd = 0;
    bool m_nameless[ADAPTERS] = {};
    Dcb m_dcb = Dcb::Starting;
    ULONGLONG m_dcbSince = 0;
};

} // namespace soak
