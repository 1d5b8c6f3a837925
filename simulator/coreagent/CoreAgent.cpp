#include "simulator/coreagent/CoreAgent.h"

#include <string>

#include <fmt/format.h>

#include "simulator/control/Call.h"
#include "simulator/coreagent/PendingApply.h"
#include "simulator/topology/Text.h"

namespace coreagent {
namespace {

constexpr ULONG NO_DETAIL = 0xFFFFFFFF;

// Which adapter a call is about.
auto Named(const CQelString& identifier) {
    return [&identifier](const sim::Scene& scene) { return scene.topology.FindAdapter(identifier); };
}

CQelString Text(const std::string& utf8) {
    return CQelString(sim::Wide(utf8).c_str());
}

// Ends a call: with the fault's status, for a wrong topology, or with what the work yields, its code.
template <class Work> QEL_RESULT Finish(sim::Call& call, Work work) {
    QEL_RESULT result{0, NO_DETAIL};
    if (const auto status = call.Status())
        result.ulErrCode = *status;
    else if (!call.Scene().error.empty())
        result.ulErrCode = ERROR_TOPOLOGY;
    else
        result.ulErrCode = work();
    if (call.ActiveFault() && call.ActiveFault()->detail)
        result.ulDetail = *call.ActiveFault()->detail;
    call.Done(result.ulErrCode);
    return result;
}

void ReportLockTaken(const sim::Fault* fault, BYTE& byLockTaken) {
    if (fault && fault->lockTaken)
        byLockTaken = *fault->lockTaken;
}

} // namespace

void CoreAgent::WaitForApplyDone(ULONG64 ullContext) {
    sim::Call call("WaitForApplyDone");
    call.Note("context", ullContext);
    if (!call.Status())
        WaitForPendingApply();
}

QEL_RESULT CoreAgent::EnumerateAdapters(std::vector<CQelString>& vecAdapters, ULONG64 ullContext) {
    // A topology file that was changed meanwhile is what a new look at the adapters finds.
    sim::Simulation::Instance().LoadIfChanged();
    sim::Call call("EnumerateAdapters");
    call.Note("context", ullContext);
    return Finish(call, [&] {
        for (const sim::Adapter& adapter : call.Scene().topology.adapters)
            vecAdapters.push_back(Text(adapter.identifier));
        return 0;
    });
}

QEL_RESULT CoreAgent::GetAdapterInfo(const CQelString& strAdapter, QEL_ADAPTER_INFO& info, ULONG) {
    sim::Call call("GetAdapterInfo", Named(strAdapter));
    const sim::Adapter* adapter = call.About();
    call.Note("adapter", [&] { return sim::Utf8(strAdapter); });
    return Finish(call, [&]() -> ULONG {
        if (!adapter)
            return ERROR_NO_ADAPTER;
        info.strIdentifier = Text(adapter->identifier);
        info.strDisplayName = Text(adapter->displayName);
        info.strPermanentAddress = Text(fmt::format("{:02X}", fmt::join(adapter->mac, ":")));
        info.ulInterfaceIndex = adapter->interfaceIndex;
        return 0;
    });
}

QEL_RESULT CoreAgent::StartLock(QEL_LOCK_REQUEST request, BYTE& byLockTaken) {
    byLockTaken = 0;
    try {
        sim::Call call("StartLock");
        call.Note("owner", request.ulOwner);
        const QEL_RESULT result = Finish(call, [&]() -> ULONG {
            if (!m_lock.Take(request.ulOwner))
                return ERROR_LOCK_IS_HELD;
            byLockTaken = 1;
            return 0;
        });
        ReportLockTaken(call.ActiveFault(), byLockTaken);
        return result;
    } catch (const sim::ThrownFault& thrown) {
        ReportLockTaken(&thrown.fault, byLockTaken);
        throw;
    }
}

QEL_RESULT CoreAgent::DoneLock(QEL_LOCK_REQUEST request) {
    sim::Call call("DoneLock");
    call.Note("owner", request.ulOwner);
    return Finish(call, [&] { return m_lock.Release(request.ulOwner) ? 0 : ERROR_LOCK_NOT_HELD; });
}

BYTE CoreAgent::SupportsFcoe(const CQelString& strAdapter) {
    sim::Call call("SupportsFcoe", Named(strAdapter));
    const sim::Adapter* adapter = call.About();
    call.Note("adapter", [&] { return sim::Utf8(strAdapter); });
    return call.Done(static_cast<BYTE>(call.Status().value_or(adapter && adapter->supportsFcoe)));
}

void CoreAgent::OnReserved(int slot) {
    sim::CallLog::Instance().Write("reserved slot " + std::to_string(slot), sim::SceneInUse().Get().version);
}

} // namespace coreagent
