#include "tests/soak/Child.h"

#include <cstdio>
#include <mutex>
#include <optional>

#include <windows.h>

#include <tlhelp32.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/OrvanDcb.h"
#include "tests/kit/CrashReport.h"
#include "tests/kit/HandleCount.h"
#include "tests/kit/HeapUse.h"
#include "tests/kit/SuiteHost.h"
#include "tests/soak/Crew.h"
#include "tests/soak/LogCheck.h"

namespace soak {
namespace {

constexpr ULONGLONG LOAD_TIME = 5000;   // milliseconds from one load of the agent to its unload
constexpr ULONGLONG SETTLE_TIME = 8000; // for threads of the system's that end by themselves
constexpr unsigned WARM_UPS = 2;        // loads before the first measurement
constexpr DWORD STEP = 5;

long long CountThreads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    long long count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

Footprint Measure() {
    return {static_cast<long long>(BusyHeapBytes()), static_cast<long long>(CountHandles()), CountThreads()};
}

// Wine 8 destroys the proxies that the clients in a process share when the last of them leaves, even while the next one
// takes them up, and crashes: a client that holds this stays.
class HeldDcbClass {
  public:
    void Hold() {
        CoGetClassObject(__uuidof(OrvanDcbIoControl), CLSCTX_LOCAL_SERVER, nullptr, __uuidof(IClassFactory),
                         reinterpret_cast<void**>(m_factory.Put()));
    }
    void Release() { m_factory.Reset(); }

  private:
    CQelComPointer<IClassFactory> m_factory;
};

// The first connection after a start of the service may be one that the system kept from before.
bool DcbAnswers() {
    CQelComPointer<IOrvanDcbIoControl> control;
    DCB_CONFIG config{};
    const CQelBstr adapter(SysAllocString(Identifier(0).c_str()));
    return SUCCEEDED(CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER,
                                      __uuidof(IOrvanDcbIoControl), reinterpret_cast<void**>(control.Put()))) &&
           SUCCEEDED(control.Get()->get_dcb_config(adapter.Get(), &config));
}

class Child {
  public:
    Child(SharedState& shared, unsigned child, unsigned seed)
        : m_shared(shared), m_figures(shared.children[child]), m_child(child), m_history(shared, child),
          m_crew(shared, m_history, child, seed, [this] { return m_host.GetAgent(); }) {}

    bool Run() {
        ExpectGeneration();
        TakeGeneration();
        ConnectAtOnce();
        for (unsigned load = 0; !m_shared.stop || load <= WARM_UPS; ++load) {
            if (!Work())
                return false;
            LookBehind(load);
        }
        m_figures.finished = 1;
        return true;
    }

  private:
    // The system keeps connections to its COM services: it gets to as many here as it will need.
    static void ConnectAtOnce() {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        HeldDcbClass held;
        held.Hold();
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 2 * WORKERS; ++t)
            threads.emplace_back([] {
                for (int i = 0; i < 10; ++i)
                    DcbAnswers();
            });
        for (auto& thread : threads)
            thread.join();
        held.Release();
        CoUninitialize();
    }

    bool Work() {
        // COM ends with each load of the agent: it may keep something for every service that went away during a call.
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (m_dcbSettled && DcbOf(m_dcbStep) == Dcb::Running)
            m_dcbClass.Hold();
        m_history.AgentLoaded();
        CQelFcoeAgentIntf* const agent = m_host.GetAgent();
        if (!agent) {
            std::fprintf(stderr, "child %u: no agent\n", m_child);
            return false;
        }
        ++m_figures.loads;
        m_crew.Work(agent);
        const ULONGLONG start = GetTickCount64();
        while (GetTickCount64() - start < LOAD_TIME && !(m_shared.stop && GetTickCount64() - start > LOAD_TIME / 4))
            Watch();
        m_crew.Rest();
        while (!m_crew.IsResting())
            Watch();
        m_host.Unload();
        m_dcbClass.Release();
        CoUninitialize();
        return true;
    }

    // Follows the parent's changes and sees that no call is stuck.
    void Watch() {
        m_figures.heartbeat = static_cast<long long>(GetTickCount64());
        if (m_shared.announcedNumber != m_figures.expectedGeneration)
            ExpectGeneration();
        if (m_shared.generationNumber != m_generation)
            TakeGeneration();
        FollowDcb();
        if (const char* operation = m_crew.Blocked()) {
            std::fprintf(stderr, "BLOCKED child %u in %s\n", m_child, operation);
            std::fflush(stderr);
            StartWatchdog(1); // prints the stacks and ends the process
            Sleep(INFINITE);
        }
        Sleep(STEP);
    }

    void ExpectGeneration() {
        Generation generation;
        {
            const std::lock_guard lock(m_shared.lock);
            generation = m_shared.generation;
        }
        m_history.GenerationBegins(generation);
        m_figures.expectedGeneration = generation.number;
    }

    void TakeGeneration() {
        const long long generation = m_shared.generationNumber;
        m_history.GenerationIsInUse(generation);
        m_generation = generation;
        ++m_figures.generations;
    }

    // The service stops and starts between calls that ask it: for each that its end meets Wine 8 may keep handles in
    // this process, and a leak of the agent's could not be told from them.
    void FollowDcb() {
        const long step = m_shared.dcbStep;
        if (step == m_dcbStep && m_dcbSettled)
            return;
        const Dcb state = DcbOf(step);
        if (step != m_dcbStep) {
            if (!m_dcbHeld)
                m_crew.HoldDcbCalls();
            m_dcbHeld = true;
            m_dcbClass.Release();
            m_history.DcbIs(state == Dcb::Running ? Dcb::Starting : state);
            m_dcbSettled = state != Dcb::Running;
            m_dcbStep = step;
            m_figures.dcbStep = step;
        }
        if (state == Dcb::Running && DcbAnswers()) {
            m_dcbClass.Hold();
            m_history.DcbIs(Dcb::Running);
            m_dcbSettled = true;
        }
        if (m_dcbSettled && (state == Dcb::Running || state == Dcb::Stopped)) {
            m_crew.ReleaseDcbCalls();
            m_dcbHeld = false;
        }
    }

    // With the agent unloaded: its log, the modules that it loaded, and what the process holds.
    void LookBehind(unsigned load) {
        for (const wchar_t* name : {L"FcoeAgnt.dll", L"orvanhapi.dll", L"CoreAgnt.dll"})
            if (GetModuleHandleW(name))
                ++m_figures.leftModules;
        const LogFigures log = CheckLog(m_host.LogFile());
        m_figures.logLines += log.lines;
        m_figures.badLogLines += log.bad;
        if (!log.firstBad.empty())
            std::fprintf(stderr, "LOG child %u: %s\n", m_child, log.firstBad.c_str());
        if (load < WARM_UPS)
            return;
        Footprint now = Measure();
        const ULONGLONG start = GetTickCount64();
        const auto HasSettled = [&] {
            return m_figures.measured ? now.handles <= m_figures.first.handles && now.threads <= m_figures.first.threads
                                      : GetTickCount64() - start >= SETTLE_TIME / 2;
        };
        while (!HasSettled() && GetTickCount64() - start < SETTLE_TIME) {
            Watch();
            now = Measure();
        }
        m_figures.last = now;
        if (!m_figures.measured)
            m_figures.first = now;
        m_figures.measured = 1;
    }

    SharedState& m_shared;
    ChildFigures& m_figures;
    const unsigned m_child;
    // Kept open for the same reason as DcbSystem keeps one.
    const CQelServiceHandle m_serviceManager{OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)};
    SuiteHost m_host;
    History m_history;
    Crew m_crew;
    long long m_generation = -1;
    long m_dcbStep = -1;
    bool m_dcbSettled = true;
    bool m_dcbHeld = false; // the workers' calls that ask the service wait
    HeldDcbClass m_dcbClass;
};

} // namespace

int RunChild(const std::wstring& memory, const std::wstring& folder, unsigned child, unsigned seed) {
    InstallCrashReport();
    SharedMemory shared(memory);
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", TopologyFile(folder).c_str());
    SetEnvironmentVariableW(L"ORVAN_SIM_STATE", (folder + L"\\state.json").c_str());
    return std::make_unique<Child>(*shared, child, seed)->Run() ? 0 : 1;
}

} // namespace soak
