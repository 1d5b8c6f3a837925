#include "simulator/dcbservice/ClientWorld.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <windows.h>

#include <rpc.h>
#include <rpcdcep.h>

#include "simulator/control/CallLog.h"
#include "simulator/control/Process.h"

namespace {

// Worlds of clients that are gone stay among these, with how far their faults have come: the next client of the same
// topology goes on there.
constexpr std::size_t MAX_KNOWN = 16;

// None: the caller is in no process that can be told, as who calls from within this one.
std::optional<sim::ProcessStatus> Caller() {
    unsigned long process = 0;
    if (I_RpcBindingInqLocalClientPID(nullptr, &process) != RPC_S_OK)
        return std::nullopt;
    return sim::Process::StatusOf(process);
}

bool IsOwnChoice(sim::Origin origin) {
    return origin == sim::Origin::Variable || origin == sim::Origin::Control;
}

} // namespace

// Null: the caller has just ended.
ClientWorlds::Known* ClientWorlds::Find(const std::wstring& world) {
    const auto found =
        std::find_if(m_known.begin(), m_known.end(), [&](const Known& known) { return known.world->Name() == world; });
    if (found != m_known.end()) {
        std::rotate(found, found + 1, m_known.end());
        return &m_known.back();
    }
    auto joined = sim::World::Find(world);
    if (!joined)
        return nullptr;
    if (m_known.size() == MAX_KNOWN)
        m_known.erase(m_known.begin());
    m_known.push_back({std::move(joined), nullptr});
    return &m_known.back();
}

ClientView ClientWorlds::OfCaller(bool look) {
    const auto caller = Caller();
    ClientView view{nullptr, std::make_unique<sim::CallFile>(caller ? caller->calls : std::wstring())};
    // A suite of another name on this machine is none of this service's.
    const sim::Choice own = sim::ConfiguredChoice();
    if (caller && caller->choice.instance == own.instance &&
        (own.origin != sim::Origin::Variable || IsOwnChoice(caller->choice.origin)))
        view.scene = SceneFor(*caller, look, *view.calls);
    return view;
}

std::shared_ptr<const sim::Scene> ClientWorlds::SceneFor(const sim::ProcessStatus& caller, bool look,
                                                         const sim::CallFile& calls) {
    Known* const known = Find(caller.world);
    if (!known)
        return nullptr;
    const auto Log = [&](const std::string& error) {
        if (!error.empty())
            sim::CallLog::Instance().Write("topology error: " + error, known->world->Version(),
                                           calls.IsOpen() ? &calls : nullptr);
    };
    if (look)
        Log(known->world->LookAtFile(sim::World::Look::IfReadable));
    for (;;) {
        if (!known->scene || known->scene->version != known->world->Version()) {
            const auto before = std::exchange(known->scene, std::make_shared<sim::Scene>(caller.choice, known->world));
            Log(known->scene->error);
            if (before) {
                known->scene->GoOnFrom(*before);
                if (before->run == known->scene->run) {
                    known->scene->armed = before->armed.load();
                    known->scene->armings = before->armings;
                }
            }
        }
        if (!known->scene->IsTimeUp())
            break;
        known->world->TakeSteps(known->scene->version);
    }
    // A text is one process's, and so is whether its faults show.
    if (caller.choice.origin == sim::Origin::Control && known->scene->armings != caller.armings) {
        known->scene->Arm(known->scene->run != caller.disarmedRun);
        known->scene->armings = caller.armings;
    }
    return known->scene;
}
