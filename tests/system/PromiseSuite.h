// What the tests of docs/promises.md share: a host on two simulated adapters, and the vendor library stopped, or made
// to throw, at one of its exports.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/SuiteHost.h"

inline constexpr wchar_t FIRST[] = L"{11111111-2222-4333-8444-555555555501}";
inline constexpr wchar_t SECOND[] = L"{11111111-2222-4333-8444-555555555502}";

// Each adapter has an online port, one fabric, one target that virtual ports see, too, one LUN and two VLANs.
// faults: entries of the topology's list.
std::string TwoAdapters(const std::string& faults = "");

class PromiseSuite {
  public:
    explicit PromiseSuite(const std::string& topology = TwoAdapters()) {
        host.Simulate(topology);
        agent = host.GetAgent();
    }

    template <class Record, class Name>
    BOOL Ask(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64), const wchar_t* adapter,
             std::vector<Record>& records) {
        CQelString name(adapter);
        return (agent->*operation)(name, records, 0);
    }
    // How many records there are; the test fails when the answer is FALSE.
    template <class Record, class Name>
    std::size_t Count(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64),
                      const wchar_t* adapter) {
        std::vector<Record> records;
        EXPECT_TRUE(Ask(operation, adapter, records));
        return records.size();
    }
    BOOL Create(const wchar_t* wwpn);
    BOOL Delete(const wchar_t* wwpn);

    SuiteHost host;
    CQelFcoeAgentIntf* agent = nullptr;
    std::vector<QEL_ERROR_ENTRY> errors;
};

// Holds the thread that comes to it first until it is opened; the test fails when that takes ten seconds.
class Gate {
  public:
    Gate();
    ~Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Pass();
    // false: nobody came within ten seconds.
    [[nodiscard]] bool WaitUntilReached() const;
    void Open();

  private:
    HANDLE m_reached, m_opened;
    LONG m_passed = 0;
};

// A thread at work. At the end of its life the gate is opened and the work waited for.
class Worker {
  public:
    Worker(Gate& gate, std::function<void()> work) : m_gate(gate), m_thread(std::move(work)) {}
    ~Worker() { Join(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Join() {
        m_gate.Open();
        if (m_thread.joinable())
            m_thread.join();
    }

  private:
    Gate& m_gate;
    std::thread m_thread;
};

// The agent's look-ups of exports lead through this for as long as it lives.
class ExportHooks {
  public:
    explicit ExportHooks(HMODULE agent);
    ~ExportHooks();

    // The library's function, which the agent does not find any more but the replacement.
    void* Replace(const char* name, void* replacement);

  private:
    ImportPatch m_patch;
};

// One export that the agent calls through the test. One at a time of each type of function.
template <class Function> class ExportHook;
template <class Result, class... Arguments> class ExportHook<Result(Arguments...)> {
  public:
    using Library = Result (*)(Arguments...);

    ExportHook(ExportHooks& hooks, const char* name, std::function<Result(Library, Arguments...)> work)
        : m_work(std::move(work)) {
        s_hook = this;
        m_library = reinterpret_cast<Library>(hooks.Replace(name, reinterpret_cast<void*>(&Call)));
    }

  private:
    static Result Call(Arguments... arguments) { return s_hook->m_work(s_hook->m_library, arguments...); }

    static inline ExportHook* s_hook;
    std::function<Result(Library, Arguments...)> m_work;
    Library m_library;
};
