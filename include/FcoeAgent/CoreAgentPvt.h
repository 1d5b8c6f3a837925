// The core agent's private interface, as far as the agents use it.
#pragma once

#include <vector>

#include <windows.h>

#include "FcoeAgent/QelString.h"
#include "FcoeAgent/QelTypes.h"

// What the core agent knows of one network adapter.
struct QEL_ADAPTER_INFO {
    CQelString strIdentifier;
    CQelString strDisplayName;
    CQelString strPermanentAddress; // MAC address as text
    ULONG ulInterfaceIndex = 0;
};

// 80 functions; those named Reserved are never called by an agent. The core agent owns the object; it lives as long as
// the core agent's module stays loaded, and an agent keeps it loaded while one of its calls is inside. Every function
// may be called from any thread, several at once, and may throw; an exception is logged and counts as a failure.
class ICoreAgentPvt {
  public:
    virtual void Reserved0() = 0;
    virtual void Reserved1() = 0;
    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;
    virtual void Reserved4() = 0;
    virtual void Reserved5() = 0;
    virtual void Reserved6() = 0;
    virtual void Reserved7() = 0;
    virtual void Reserved8() = 0;
    virtual void Reserved9() = 0;
    virtual void Reserved10() = 0;
    virtual void Reserved11() = 0;
    virtual void Reserved12() = 0;
    virtual void WaitForApplyDone(ULONG64 ullContext) = 0; // returns when no apply is pending
    virtual void Reserved14() = 0;
    virtual void Reserved15() = 0;
    virtual void Reserved16() = 0;
    virtual void Reserved17() = 0;
    virtual void Reserved18() = 0;
    virtual void Reserved19() = 0;
    virtual void Reserved20() = 0;
    virtual QEL_RESULT EnumerateAdapters(std::vector<CQelString>& vecAdapters, ULONG64 ullContext) = 0;
    virtual void Reserved22() = 0;
    virtual void Reserved23() = 0;
    virtual void Reserved24() = 0;
    // ulReserved is 0.
    virtual QEL_RESULT GetAdapterInfo(const CQelString& strAdapter, QEL_ADAPTER_INFO& info, ULONG ulReserved) = 0;
    virtual void Reserved26() = 0;
    virtual void Reserved27() = 0;
    virtual void Reserved28() = 0;
    virtual void Reserved29() = 0;
    virtual void Reserved30() = 0;
    virtual void Reserved31() = 0;
    virtual void Reserved32() = 0;
    virtual void Reserved33() = 0;
    virtual void Reserved34() = 0;
    // byLockTaken non-zero: the lock is taken, whatever the result, and DoneLock follows with the same request.
    virtual QEL_RESULT StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) = 0;
    virtual QEL_RESULT DoneLock(QEL_LOCK_REQUEST request) = 0;
    virtual void Reserved37() = 0;
    virtual void Reserved38() = 0;
    virtual void Reserved39() = 0;
    virtual void Reserved40() = 0;
    virtual void Reserved41() = 0;
    virtual void Reserved42() = 0;
    virtual void Reserved43() = 0;
    virtual void Reserved44() = 0;
    virtual void Reserved45() = 0;
    virtual void Reserved46() = 0;
    virtual void Reserved47() = 0;
    virtual void Reserved48() = 0;
    virtual void Reserved49() = 0;
    virtual void Reserved50() = 0;
    virtual void Reserved51() = 0;
    virtual void Reserved52() = 0;
    virtual void Reserved53() = 0;
    virtual void Reserved54() = 0;
    virtual void Reserved55() = 0;
    virtual void Reserved56() = 0;
    virtual void Reserved57() = 0;
    virtual void Reserved58() = 0;
    virtual void Reserved59() = 0;
    virtual void Reserved60() = 0;
    virtual void Reserved61() = 0;
    virtual void Reserved62() = 0;
    virtual void Reserved63() = 0;
    virtual void Reserved64() = 0;
    virtual void Reserved65() = 0;
    virtual void Reserved66() = 0;
    virtual void Reserved67() = 0;
    virtual void Reserved68() = 0;
    virtual void Reserved69() = 0;
    virtual void Reserved70() = 0;
    virtual void Reserved71() = 0;
    virtual void Reserved72() = 0;
    virtual void Reserved73() = 0;
    virtual void Reserved74() = 0;
    virtual void Reserved75() = 0;
    virtual void Reserved76() = 0;
    virtual void Reserved77() = 0;
    virtual void Reserved78() = 0;
    virtual BYTE SupportsFcoe(const CQelString& strAdapter) = 0; // non-zero: yes

  protected:
    ~ICoreAgentPvt() = default;
};

// The core agent module's export.
extern "C" ICoreAgentPvt* GetCoreAgentPvt();

using PFN_GetCoreAgentPvt = decltype(&GetCoreAgentPvt);
