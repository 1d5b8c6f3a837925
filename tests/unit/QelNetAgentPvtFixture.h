// What the tests of CQelNetAgentPvt share.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "Common/Src/QelNetAgentPvt.h"

// Beside the record, where the assertions look for them.
inline bool operator==(const QEL_RESULT& a, const QEL_RESULT& b) {
    return a.ulErrCode == b.ulErrCode && a.ulDetail == b.ulDetail;
}
inline void PrintTo(const QEL_RESULT& result, std::ostream* out) {
    *out << "{" << result.ulErrCode << ", " << result.ulDetail << "}";
}

using Messages = std::vector<std::string>;
using Names = std::vector<CQelString>;

// An agent whose state the tests see.
class CoordinationAgent : public CQelNetAgentPvt {
  public:
    using CQelNetAgentPvt::DoneLock;
    using CQelNetAgentPvt::FreeCoreAgent;
    using CQelNetAgentPvt::GetCoreAgntPvt;
    using CQelNetAgentPvt::HadCoreAgent;
    using CQelNetAgentPvt::StartLock;
    using CQelNetAgentPvt::WaitForApplyDone;

    Names LoadList() {
        const CQelLockGuard guard(m_csLock);
        return m_vecLoadMiniports;
    }
    Names UnloadList() {
        const CQelLockGuard guard(m_csLock);
        return m_vecUnloadMiniports;
    }
    void SetLists(const Names& load, const Names& unload) {
        const CQelLockGuard guard(m_csLock);
        m_vecLoadMiniports = load;
        m_vecUnloadMiniports = unload;
    }
    // Whether another thread could take the lock now.
    bool LockIsFree() {
        bool free = false;
        std::thread([&] {
            if (m_csLock.TryEnter()) {
                m_csLock.Leave();
                free = true;
            }
        }).join();
        return free;
    }
    // The system's part of the lock.
    const void* LockAddress() const { return &m_csLock; }
    // Where lock, load list, unload list, core agent and module lie in the object.
    std::array<std::ptrdiff_t, 5> FieldOffsets() {
        const CQelLockGuard guard(m_csLock);
        const auto offset = [this](const auto& field) {
            return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(this);
        };
        return {offset(m_csLock), offset(m_vecLoadMiniports), offset(m_vecUnloadMiniports), offset(m_pCoreAgent),
                offset(m_pLoaded)};
    }
};

// An agent with miniports of its own.
class MiniportAgent : public CoordinationAgent {
  public:
    QEL_RESULT UnloadMiniport(const CQelString& name, BYTE& changed) override {
        return Hook(L"unload ", name, changed);
    }
    QEL_RESULT LoadMiniport(const CQelString& name, BYTE& changed) override { return Hook(L"load ", name, changed); }

    std::vector<std::wstring> calls;
    std::vector<BYTE> flagsAtCall;
    std::function<QEL_RESULT(const CQelString&, BYTE&)> hook = [](auto&, auto&) { return QEL_RESULT{0, 0}; };

  private:
    QEL_RESULT Hook(const wchar_t* what, const CQelString& name, BYTE& flag) {
        calls.push_back(what + name);
        flagsAtCall.push_back(flag);
        return hook(name, flag);
    }
};
