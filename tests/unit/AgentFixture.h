// What the tests of the agent share: the agent among neighbours of the test's own.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/FcoeAgentWin.h"
#include "model/FcoeFabric.h"
#include "model/FcoeLUN.h"
#include "model/FcoePort.h"
#include "model/FcoeTarget.h"
#include "model/FcoeVLAN.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeCoreAgent.h"
#include "tests/unit/FakeHbaLibrary.h"
#include "tests/unit/FakeSetupApi.h"

// The agent, with its inner state in view.
class VisibleAgent : public CQelFcoeAgentWin {
  public:
    using CQelFcoeAgentWin::HadCoreAgent;

    bool IsInitialized() {
        const CQelLockGuard guard(m_csAgent);
        return m_bInitialized;
    }
    CHBAAPIInt* Library() {
        const CQelLockGuard guard(m_csAgent);
        return m_pLibrary;
    }
    // As before the first start, but for the core agent.
    void LoseLibrary() {
        const CQelLockGuard guard(m_csAgent);
        m_pLibrary = nullptr;
        m_bInitialized = FALSE;
    }
    std::size_t Objects() {
        const CQelLockGuard guard(m_csAgent);
        return m_mapHBAs.size();
    }
    void Hold(const wchar_t* id, std::shared_ptr<CQelFcoeHBA> object) {
        const CQelLockGuard guard(m_csAgent);
        m_mapHBAs[id] = std::move(object);
    }
    // Whether another thread could take the agent lock now.
    bool LockIsFree() {
        bool free = false;
        std::thread([&] {
            if (m_csAgent.TryEnter()) {
                m_csAgent.Leave();
                free = true;
            }
        }).join();
        return free;
    }
};

class AgentFixture : public testing::Test {
  protected:
    static constexpr wchar_t AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
    static constexpr wchar_t FEATURES_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\TOLV";

    // The agent is made while there is no key of the suite: it leaves the program's log as it is.
    AgentFixture() {
        hive.Set(FEATURES_KEY, L"InstalledTOLV_FCOE", std::wstring(L"1"));
        core.adapters = {L"{A}", L"{B}"};
    }
    void Register() {
        wchar_t path[MAX_PATH];
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        hive.Set(AGENT_KEY, L"InstalledDir", std::wstring(path));
    }
    void Start() {
        Register();
        ASSERT_TRUE(agent->Initialize());
        Forget();
    }
    void Forget() {
        fake.ClearCalls();
        core.calls.clear();
        log.Clear();
    }
    bool Logged(const std::string& message) const { return log.Has(message); }

    PrivateHive hive;
    LogCapture log;
    MovedClock clock;
    FakeHbaLibrary fake;
    FakeSetupApi setupApi{hive};
    FakeCoreAgent core;
    std::unique_ptr<VisibleAgent> agent = std::make_unique<VisibleAgent>();
};
