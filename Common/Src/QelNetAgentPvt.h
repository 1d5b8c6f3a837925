// What every agent of the suite shares with the core agent.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/CoreAgentPvt.h"
#include "FcoeAgent/QelDebug.h"
#include "FcoeAgent/QelLock.h"
#include "FcoeAgent/QelString.h"
#include "FcoeAgent/QelTypes.h"

// Loads the core agent, wraps its lock and wait calls, and works through the miniports that an apply reloads.
//
// The core agent calls the two ApplyDone functions from its own threads; they and AddForReload may run beside
// everything else.
class CQelNetAgentPvt {
  public:
    // The core agent calls these virtual functions by their place: the destructor first, none between or after them.
    virtual ~CQelNetAgentPvt();

    // The core agent applied a change: the miniports on the list are unloaded (loaded), each once, whether that works
    // or not. byChanged is set to 1 when a miniport asks for it, and is otherwise left as it was. Code 0 always.
    virtual QEL_RESULT ApplyDone_UnloadDevice(BYTE& byChanged);
    virtual QEL_RESULT ApplyDone_LoadDevice(BYTE& byChanged);
    // Hooks for an agent with miniports of its own; as they stand they report "not done".
    virtual QEL_RESULT UnloadMiniport(const CQelString& strMiniportInst, BYTE& byChanged);
    virtual QEL_RESULT LoadMiniport(const CQelString& strMiniportInst, BYTE& byChanged);
    virtual void Notify();
    virtual QEL_RESULT QueryStatus();
    virtual QEL_RESULT QueryApplyStatus();

    CQelNetAgentPvt();
    CQelNetAgentPvt(const CQelNetAgentPvt&) = delete;
    CQelNetAgentPvt& operator=(const CQelNetAgentPvt&) = delete;

    // Puts a miniport on the list of those to load again; a name that is there already, and an empty one, is ignored.
    void AddForReload(const CQelString& strMiniportInst);

  protected:
    // (Re)loads the core agent and fetches its interface; m_pCoreAgent stays as it was, null at first, when the module
    // cannot be loaded.
    void GetCoreAgntPvt();

    // The core agent's calls of the same names. An exception is logged and becomes QEL_RESULT_NOT_DONE; so does the
    // absence of a core agent.
    void WaitForApplyDone(ULONG64 ullContext);
    QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken);
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST request);

    // Makes one call of the core agent's interface. An exception of any type ends here, in the log, with the position
    // given; the result is then false. A core agent that is not there counts as one that throws.
    template <class Call>
    bool CallCoreAgent(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszMessage, Call call);

    CQelLock m_csLock; // guards the lists and the module handle
    std::vector<CQelString> m_vecLoadMiniports;
    std::vector<CQelString> m_vecUnloadMiniports;
    ICoreAgentPvt* m_pCoreAgent;
    HMODULE m_hCoreAgent;

    // Frees the core agent's module. Calls that are under way keep it loaded until they return.
    void FreeCoreAgent();

  private:
    // A module with the interface that it handed out: what a call works with from its start to its end, without the
    // lock.
    struct CoreAgent {
        CQelModule module;
        ICoreAgentPvt* pInterface;
    };
    std::atomic<std::shared_ptr<const CoreAgent>> m_pLoaded;
    // The module was freed: m_pCoreAgent, which stays as it was, leads nowhere.
    std::atomic<bool> m_bGone = false;

    // What tells the unload pass from the load pass.
    struct MiniportPass {
        QEL_RESULT (CQelNetAgentPvt::*pfnHook)(const CQelString& strMiniportInst, BYTE& byChanged);
        int nErrorLine;
        bool bReload; // the names go to the load list
    };
    // Hands every name on the list to the hook, from the front, and takes it off whether that worked or not.
    void WorkThrough(std::vector<CQelString>& vecMiniports, const MiniportPass& pass, BYTE& byChanged);
};

template <class Call>
bool CQelNetAgentPvt::CallCoreAgent(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszMessage, Call call) {
    const auto pLoaded = m_pLoaded.load();
    ICoreAgentPvt* const pCoreAgent = pLoaded ? pLoaded->pInterface : m_bGone ? nullptr : m_pCoreAgent;
    if (pCoreAgent) {
        try {
            call(*pCoreAgent);
            return true;
        } catch (...) {
        }
    }
    CQelDebug::Instance().Error(pszSourceFile, nLine, pszMessage);
    return false;
}
