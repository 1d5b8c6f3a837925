#include "tests/soak/Crew.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "tests/soak/Judge.h"
#include "tools/fcoectl/Text.h"

namespace soak {
namespace {

constexpr ULONGLONG CALL_LIMIT = 120000; // milliseconds; some waits for other processes may be 10000 each
constexpr int MOST_REPORTS = 20;
constexpr DWORD CACHES_ARE_OLD = 40; // milliseconds, of a counter that may be behind

long long Microseconds(LARGE_INTEGER from) {
    LARGE_INTEGER now, frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return (now.QuadPart - from.QuadPart) * 1000000 / frequency.QuadPart;
}

} // namespace

CQelString Crew::Place::Name() const {
    return adapter == ADAPTERS ? CQelString() : CQelString(Identifier(adapter).c_str());
}

Crew::Crew(SharedState& shared, History& history, unsigned child, unsigned seed,
           std::function<CQelFcoeAgentIntf*()> getAgent)
    : m_shared(shared), m_figures(shared.children[child]), m_history(history), m_child(child),
      m_getAgent(std::move(getAgent)), m_work(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_end(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    for (unsigned t = 0; t <= WORKERS; ++t) {
        Thread& thread = m_threads[t];
        thread.random.seed(seed + 100 * child + t);
        thread.thread =
            std::thread([this, &thread, work = t < WORKERS ? &Crew::Visit : &Crew::Restart] { Run(thread, work); });
    }
}

Crew::~Crew() {
    SetEvent(m_end);
    for (Thread& thread : m_threads)
        thread.thread.join();
    CloseHandle(m_work);
    CloseHandle(m_end);
}

void Crew::Work(CQelFcoeAgentIntf* agent) {
    m_agent = agent;
    m_resting = 0;
    SetEvent(m_work);
}

const char* Crew::Blocked() const {
    for (const Thread& thread : m_threads) {
        const long operation = thread.operation;
        if (operation >= 0 && GetTickCount64() > thread.since + CALL_LIMIT)
            return OPERATION_NAMES[operation];
    }
    return nullptr;
}

void Crew::Run(Thread& self, void (Crew::*work)(Thread&)) {
    while (WaitForWork())
        (this->*work)(self);
}

bool Crew::WaitForWork() {
    if (WaitForSingleObject(m_work, 0) == WAIT_OBJECT_0)
        return true;
    ++m_resting;
    const HANDLE events[] = {m_end, m_work};
    return WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
}

void Crew::Make(Thread& self, Op op, const std::function<void()>& call, const std::function<Verdict()>& check) {
    OperationFigures& figures = m_figures.operations[static_cast<unsigned>(op)];
    LARGE_INTEGER start;
    QueryPerformanceCounter(&start);
    self.since = GetTickCount64();
    self.operation = static_cast<long>(op);
    ++self.calls;
    call();
    ++self.calls;
    self.operation = -1;
    const long long took = Microseconds(start);
    long long longest = figures.longest;
    while (took > longest && !figures.longest.compare_exchange_weak(longest, took)) {
    }
    ++figures.calls;
    const Verdict verdict = check();
    ++figures.checked;
    if (verdict.first)
        ++figures.exact;
    if (verdict.second.empty())
        return;
    ++figures.mismatches;
    if (++m_reported <= MOST_REPORTS) {
        std::fprintf(stderr, "MISMATCH child %u %s: %s\n", m_child, OPERATION_NAMES[static_cast<unsigned>(op)],
                     verdict.second.c_str());
        std::fflush(stderr);
    }
}

void Crew::MakeAt(Thread& self, const Place& place, Op op, const std::function<void()>& call,
                  const std::function<Verdict(const History::Call&)>& check) {
    History::Call made;
    Make(
        self, op,
        [&] {
            unsigned mask = 0;
            for (unsigned a = place.First(); a < place.End(); ++a)
                mask |= 1u << a;
            made = m_history.Begin(mask, place.alone);
            call();
            m_history.End(made);
        },
        [&] { return check(made); });
}

// One adapter or all: a single operation beside the others', or some, the first with old caches perhaps, alone there.
void Crew::Visit(Thread& self) {
    Place place;
    place.adapter = self.random() % 12 == 0 ? ADAPTERS : self.random() % ADAPTERS;
    place.alone = self.random() % 2 == 0;
    for (unsigned a = place.First(); a < place.End(); ++a)
        if (place.alone)
            AcquireSRWLockExclusive(&m_adapters[a]);
        else
            AcquireSRWLockShared(&m_adapters[a]);
    if (place.alone && self.random() % 4 != 0)
        Sleep(CACHES_ARE_OLD);
    for (unsigned i = place.alone ? 2 + self.random() % 5 : 1; i > 0; --i)
        DoSomething(self, place);
    for (unsigned a = place.First(); a < place.End(); ++a)
        if (place.alone)
            ReleaseSRWLockExclusive(&m_adapters[a]);
        else
            ReleaseSRWLockShared(&m_adapters[a]);
}

// Uninstalls and starts the agent, once or twice each, whatever the workers do.
void Crew::Restart(Thread& self) {
    Sleep(300 + self.random() % 1500);
    m_history.RestartBegins();
    for (unsigned i = self.random() % 8 == 0 ? 2 : 1; i > 0; --i) {
        BOOL result = FALSE;
        Make(
            self, Op::Uninstall, [&] { result = m_agent->Uninstall(0); },
            [&] { return Verdict(true, result == TRUE ? "" : "FALSE"); });
    }
    Sleep(self.random() % 30);
    for (unsigned i = self.random() % 8 == 0 ? 2 : 1; i > 0; --i) {
        CQelFcoeAgentIntf* agent = nullptr;
        Make(
            self, Op::GetFcoeAgent, [&] { agent = m_getAgent(); },
            [&] { return Verdict(true, agent == m_agent ? "" : "not the agent"); });
    }
    // What the agent had before may be in use, and is given up, until the calls that are under way now are over.
    for (Thread& thread : m_threads) {
        const unsigned long long calls = thread.calls;
        while (calls % 2 != 0 && thread.calls == calls)
            Sleep(1);
    }
    m_history.RestartEnds();
    ++m_figures.restarts;
}

void Crew::DoSomething(Thread& self, Place& place) {
    const unsigned choice = self.random() % 100;
    if (place.adapter == ADAPTERS || choice < 82)
        Enumerate(self, place, static_cast<Op>(self.random() % (static_cast<unsigned>(Op::EnumerateStatistics) + 1)));
    if (choice < 82)
        return;
    if (place.alone && place.adapter != ADAPTERS)
        Enumerate(self, place, Op::EnumerateStatistics); // opens the adapter's handle, which the others work with
    if (choice < 88)
        Rescan(self, place);
    else if (choice < 94)
        GenerateName(self, place);
    else
        ChangePorts(self, place);
}

void Crew::Enumerate(Thread& self, Place& place, Op op) {
    using I = CQelFcoeAgentIntf;
    switch (op) {
    case Op::EnumerateHBAs:
        if (!TryAcquireSRWLockShared(&m_dcbCalls))
            return;
        EnumerateRecords<QEL_FCOE_HBA, const CQelString>(self, place, op, &I::EnumerateHBAs);
        ReleaseSRWLockShared(&m_dcbCalls);
        return;
    case Op::EnumerateFabrics:
        return EnumerateRecords(self, place, op, &I::EnumerateFabrics);
    case Op::EnumeratePorts:
        return EnumerateRecords(self, place, op, &I::EnumeratePorts);
    case Op::EnumerateTargets:
        return EnumerateRecords(self, place, op, &I::EnumerateTargets);
    case Op::EnumerateVLANs:
        return EnumerateRecords(self, place, op, &I::EnumerateVLANs);
    case Op::EnumerateLUNs:
        return EnumerateRecords(self, place, op, &I::EnumerateLUNs);
    default:
        return EnumerateRecords(self, place, op, &I::EnumerateStatistics);
    }
}

template <class Record, class Id>
void Crew::EnumerateRecords(Thread& self, Place& place, Op op,
                            BOOL (CQelFcoeAgentIntf::*operation)(Id&, std::vector<Record>&, ULONG64)) {
    CQelString name = place.Name();
    std::vector<Record> records;
    BOOL result = FALSE;
    MakeAt(
        self, place, op, [&] { result = (m_agent->*operation)(name, records, 7); },
        [&](const History::Call& call) -> Verdict {
            if (op == Op::EnumerateStatistics)
                place.opened = call.start; // never from a cache
            if (result != TRUE)
                return {true, fmt::format("returned {}", result)};
            std::vector<Situation> situations;
            bool exact = true;
            for (unsigned a = place.First(); a < place.End(); ++a) {
                situations.push_back(m_history.Look(a, call));
                exact = exact && situations.back().exact;
            }
            return {exact,
                    place.adapter == ADAPTERS ? JudgeAll(situations, records) : Judge(situations.front(), records)};
        });
}

Crew::Verdict Crew::JudgeResult(const Place& place, const History::Call& call,
                                const std::function<std::string(const Situation&)>& judge) {
    if (!place.alone || place.opened == 0)
        return {false, ""};
    const Situation situation = m_history.Look(place.adapter, call, place.opened);
    return {situation.isSteady, situation.isSteady ? judge(situation) : ""};
}

void Crew::Rescan(Thread& self, Place& place) {
    CQelString name = place.Name();
    BOOL result = FALSE;
    MakeAt(
        self, place, Op::RefreshTargets, [&] { result = m_agent->RefreshTargets(name, 7); },
        [&](const History::Call& call) -> Verdict {
            if (place.adapter == ADAPTERS)
                return {true, result ? "done for no adapter" : ""};
            return JudgeResult(place, call, [&](const Situation& situation) {
                const bool expected = situation.states.front().listed;
                return result == expected ? "" : fmt::format("returned {}", result);
            });
        });
}

void Crew::GenerateName(Thread& self, Place& place) {
    CQelString name = place.Name(), port(L"as it was");
    std::vector<QEL_ERROR_ENTRY> errors;
    BOOL result = FALSE;
    MakeAt(
        self, place, Op::GenerateVPortWWPN, [&] { result = m_agent->GenerateVPortWWPN(name, port, errors, 7); },
        [&](const History::Call& call) -> Verdict {
            const std::string text = fcoectl::ToUtf8(port);
            if (!errors.empty())
                return {true, "an error entry"};
            if (place.adapter == ADAPTERS)
                return {true, result || text != "as it was" ? "done for no adapter" : ""};
            if (result ? !IsPortName(text) : !text.empty())
                return {true, fmt::format("returned {} and '{}'", result, text)};
            return JudgeResult(place, call, [&](const Situation& situation) -> std::string {
                if (result != situation.states.front().listed)
                    return fmt::format("returned {}", result);
                if (situation.exact && std::ranges::find(situation.ports, text) != situation.ports.end())
                    return "a name that is in use: " + text;
                return {};
            });
        });
}

} // namespace soak
