// A child's threads: workers that call operations of the agent at random and have every answer judged, and one that
// uninstalls and starts the agent meanwhile.
#pragma once

#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "FcoeAgent/FcoeAgentIntf.h"
#include "tests/soak/History.h"

namespace soak {

class Crew {
  public:
    // getAgent: the module's export.
    Crew(SharedState& shared, History& history, unsigned child, unsigned seed,
         std::function<CQelFcoeAgentIntf*()> getAgent);
    ~Crew(); // ends the threads, which must be resting
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // The threads work from Work on; Rest asks them to come to an end, and they have when IsResting says so.
    void Work(CQelFcoeAgentIntf* agent);
    void Rest() { ResetEvent(m_work); }
    bool IsResting() const { return m_resting == WORKERS + 1; }

    // While held, no call that asks the DCB service is under way, and none begins. Held and released by one thread.
    void HoldDcbCalls() { AcquireSRWLockExclusive(&m_dcbCalls); }
    void ReleaseDcbCalls() { ReleaseSRWLockExclusive(&m_dcbCalls); }

    // The operation that has been running for longer than any may; null: none.
    const char* Blocked() const;

  private:
    struct Thread {
        std::mt19937 random;
        std::atomic<long> operation{-1}; // under way; -1: none
        std::atomic<ULONGLONG> since{0};
        std::atomic<unsigned long long> calls{0};
        std::thread thread;
    };
    // Where a worker is: on which adapter, whether alone, and since when the adapter's handle is known to be good.
    struct Place {
        unsigned adapter = 0; // ADAPTERS: all of them
        bool alone = false;
        ULONGLONG opened = 0;

        unsigned First() const { return adapter == ADAPTERS ? 0 : adapter; }
        unsigned End() const { return adapter == ADAPTERS ? ADAPTERS : adapter + 1; }
        CQelString Name() const;
    };
    using Verdict = std::pair<bool, std::string>; // whether an exact answer was due, and what is wrong

    void Run(Thread& self, void (Crew::*work)(Thread&));
    bool WaitForWork();
    void Visit(Thread& self);
    void Restart(Thread& self);

    // Makes the call, with its figures and under the eyes of the watchdog, and has its answer judged.
    void Make(Thread& self, Op op, const std::function<void()>& call, const std::function<Verdict()>& check);
    // The same for a call on adapters.
    void MakeAt(Thread& self, const Place& place, Op op, const std::function<void()>& call,
                const std::function<Verdict(const History::Call&)>& check);

    void DoSomething(Thread& self, Place& place);
    void Enumerate(Thread& self, Place& place, Op op);
    template <class Record, class Id>
    void EnumerateRecords(Thread& self, Place& place, Op op,
                          BOOL (CQelFcoeAgentIntf::*operation)(Id&, std::vector<Record>&, ULONG64));
    void GenerateName(Thread& self, Place& place);
    void Rescan(Thread& self, Place& place);
    void ChangePorts(Thread& self, Place& place);
    // Creates or deletes the port of that name; slot: whose history this belongs to, PORT_SLOTS for none. The codes of
    // the refusal when the adapter is there and when it is not; 0: it is done.
    void ChangePort(Thread& self, Place& place, Op op, unsigned slot, std::string& name, ULONG code, ULONG codeOfGone);
    // Judges what works with the adapter's handle, which an earlier call has opened.
    Verdict JudgeResult(const Place& place, const History::Call& call,
                        const std::function<std::string(const Situation&)>& judge);

    SharedState& m_shared;
    ChildFigures& m_figures;
    History& m_history;
    const unsigned m_child;
    const std::function<CQelFcoeAgentIntf*()> m_getAgent;
    CQelFcoeAgentIntf* m_agent = nullptr;
    SRWLOCK m_adapters[ADAPTERS] = {};
    SRWLOCK m_dcbCalls = SRWLOCK_INIT;
    struct Slot {
        SpinLock lock;
        bool present = false;
        std::string name; // of the port that is present
    } m_slots[ADAPTERS][PORT_SLOTS];
    HANDLE m_work, m_end; // events
    std::atomic<unsigned> m_resting{0};
    std::atomic<int> m_reported{0};
    Thread m_threads[WORKERS + 1]; // the last one restarts the agent
};

} // namespace soak
