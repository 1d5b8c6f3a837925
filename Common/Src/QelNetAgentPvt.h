// What every agent of the suite shares with the core agent.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <windows.h>

#include "Common/Src/Containment.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/CoreAgentPvt.h"
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
    // (Re)loads the core agent and fetches its interface. The old module is freed first; calls that are under way keep
    // it loaded until they return.
    void GetCoreAgntPvt();
    // Frees the core agent's module, in the same way.
    void FreeCoreAgent();
    // Whether a core agent ever handed out an interface. One whose module is gone since counts.
    bool HadCoreAgent();

    // The core agent's calls of the same names. An exception is logged and becomes QEL_RESULT_NOT_DONE; so does the
    // absence of a core agent. They run without the lock: an apply does not wait for them.
    void WaitForApplyDone(ULONG64 ullContext) QEL_EXCLUDES(m_csLock);
    QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) QEL_EXCLUDES(m_csLock);
    QEL_RESULT DoneLock(QEL_LOCK_REQUEST request) QEL_EXCLUDES(m_csLock);

    // Makes one call of the core agent's interface; false when it threw, as Contain has it. A core agent that is not
    // there counts as one that throws.
    template <class Call>
    bool CallCoreAgent(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszOperation,
                       MemoryExhaustion eMemoryExhaustion, Call call) QEL_EXCLUDES(m_csLock);

    // A module with the interface that it handed out.
    struct CoreAgent {
        CQelModule module;
        ICoreAgentPvt* pInterface;
    };

    CQelLock m_csLock;
    std::vector<CQelString> m_vecLoadMiniports QEL_GUARDED_BY(m_csLock);
    std::vector<CQelString> m_vecUnloadMiniports QEL_GUARDED_BY(m_csLock);
    // The interface that was handed out last. It stays when the module goes: nothing is called through it.
    ICoreAgentPvt* m_pCoreAgent QEL_GUARDED_BY(m_csLock) = nullptr;
    // Null when none is loaded. A call works without the lock with what it finds here at its start, and so keeps the
    // module loaded to its end.
    std::atomic<std::shared_ptr<const CoreAgent>> m_pLoaded;

  private:
    // What tells the unload pass from the load pass.
    struct MiniportPass {
        QEL_RESULT (CQelNetAgentPvt::*pfnHook)(const CQelString& strMiniportInst, BYTE& byChanged);
        int nErrorLine;
        bool bReload; // the names go to the load list
    };
    // Hands every name on the list to the hook, from the front, and takes it off whether that worked or not.
    void WorkThrough(std::vector<CQelString>& vecMiniports, const MiniportPass& pass, BYTE& byChanged)
        QEL_REQUIRES(m_csLock);
};

template <class Call>
bool CQelNetAgentPvt::CallCoreAgent(const wchar_t* pszSourceFile, int nLine, const wchar_t* pszOperation,
                                    MemoryExhaustion eMemoryExhaustion, Call call) {
    const auto pLoaded = m_pLoaded.load();
    if (pLoaded && pLoaded->pInterface)
        return Contain(pszSourceFile, nLine, pszOperation, eMemoryExhaustion, [&] { call(*pLoaded->pInterface); });
    LogException(pszSourceFile, nLine, pszOperation);
    return false;
}
