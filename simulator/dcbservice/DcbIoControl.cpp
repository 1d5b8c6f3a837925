#include "simulator/dcbservice/DcbIoControl.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include "simulator/control/Call.h"
#include "simulator/dcbservice/ClientWorld.h"
#include "simulator/dcbservice/Crash.h"

namespace {

constexpr LONG APPLICATION_FCOE = 0;

std::mutex g_lock;

// Of the client that calls; g_lock is held.
ClientView CallersView(bool look = false) {
    static ClientWorlds worlds;
    return worlds.OfCaller(look);
}

// Runs one operation under its faults. work: HRESULT(sim::Call&), not called when a fault decides the result.
template <class Work> HRESULT Finish(sim::Call& call, Work work) {
    const auto status = call.Status();
    return static_cast<HRESULT>(call.Done(status ? *status : static_cast<std::uint32_t>(work(call))));
}

// The same for a client. find: as sim::Call's.
template <class Find, class Work> HRESULT Run(sim::Function function, const ClientView& client, Find find, Work work) {
    try {
        if (client.scene) {
            sim::Call call(function, *client.scene, *client.calls, find);
            return Finish(call, work);
        }
        sim::Call call(function, *client.calls, find);
        return Finish(call, work);
    } catch (const std::runtime_error&) {
        Crash();
    }
}

// Answers a query about an adapter: fill writes the state and returns the result that the topology wants.
template <class State, class Fill> HRESULT Answer(sim::Function function, BSTR name, State* state, Fill fill) {
    if (!state)
        return E_POINTER;
    *state = {};
    const std::lock_guard lock(g_lock);
    const auto Find = [&](const sim::Scene& scene) {
        return scene.topology.FindAdapter({name ? name : L"", SysStringLen(name)});
    };
    return Run(function, CallersView(), Find, [&](sim::Call& call) -> HRESULT {
        const sim::Adapter* const adapter = call.About();
        call.Note("adapter", [&] { return adapter ? adapter->identifier : std::string("unknown"); });
        if (!call.Scene().error.empty())
            return E_UNEXPECTED;
        if (!adapter)
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        const auto result = static_cast<HRESULT>(fill(adapter->dcb));
        call.Garbage(state, sizeof *state);
        return result;
    });
}

} // namespace

HRESULT DcbIoControl::get_pfc_oper_state(BSTR adapter, DCB_PFC_STATE* state) {
    return Answer("get_pfc_oper_state", adapter, state, [&](const sim::Dcb& dcb) {
        std::copy(dcb.pfc.begin(), dcb.pfc.end(), state->lEnabled);
        return dcb.pfcHresult;
    });
}

HRESULT DcbIoControl::get_app_oper_state(BSTR adapter, LONG application, DCB_APP_STATE* state) {
    if (application != APPLICATION_FCOE)
        return E_INVALIDARG;
    return Answer("get_app_oper_state", adapter, state, [&](const sim::Dcb& dcb) {
        state->byPriorityMap = dcb.priorityBitmap;
        return dcb.appHresult;
    });
}

HRESULT DcbIoControl::get_dcb_config(BSTR adapter, DCB_CONFIG* config) {
    return Answer("get_dcb_config", adapter, config, [&](const sim::Dcb& dcb) {
        config->lDcbEnabled = dcb.enabled;
        return dcb.configHresult;
    });
}

HRESULT DcbClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    const std::lock_guard lock(g_lock);
    const ClientView client = CallersView(true);
    if (!client.scene)
        sim::Simulation::Instance().LoadIfChanged();
    const auto NoAdapter = [](const sim::Scene&) -> const sim::Adapter* { return nullptr; };
    return Run("CreateInstance", client, NoAdapter,
               [&](sim::Call&) { return ComClassFactory<DcbIoControl>::CreateInstance(outer, iid, object); });
}
