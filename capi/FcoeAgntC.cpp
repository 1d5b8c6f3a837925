// The exports. What a host gets is given out last of all, when nothing can fail any more.
#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "FcoeAgent/fcoe_agent.h"
#include "capi/AgentThread.h"
#include "capi/Requests.h"

namespace capi {
namespace {

constexpr std::size_t WWPN_UNITS = 24; // of the host's buffer

// Empties what the host is to get.
template <class Pointer> void Reset(Pointer** output) noexcept {
    if (output)
        *output = nullptr;
}

void Need(bool given, const char* what) {
    if (!given)
        throw Ended(FCOE_BAD_ARGUMENT, std::string(what) + " is missing: the pointer is null.");
}

void NeedNoFlags(std::uint32_t flags) {
    if (flags != 0)
        throw Ended(FCOE_BAD_ARGUMENT, "There are no flags yet: they must be 0.");
}

// The text of a buffer of that many units.
std::wstring NameIn(const fcoe_char* wwpn) {
    const fcoe_char* const end = std::find(wwpn, wwpn + WWPN_UNITS, fcoe_char{});
    if (end == wwpn + WWPN_UNITS)
        throw Ended(FCOE_BAD_ARGUMENT, "The port's name is not terminated within its 24 units.");
    return {wwpn, end};
}

// work: what can throw; returns the outcome. giveOut: takes the results to the host, when there is a message for all
// that went wrong.
template <class Work, class GiveOutResults>
fcoe_status Respond(fcoe_char** message, Work work, GiveOutResults giveOut, bool isRegistered = true) noexcept {
    Reset(message);
    const Outcome outcome = Perform(isRegistered, work);
    if (!Tell(outcome, message))
        return FCOE_NO_MEMORY;
    giveOut(outcome.status);
    return outcome.status;
}

bool HasAnswer(fcoe_status status) {
    return status == FCOE_OK || status == FCOE_INCOMPLETE;
}

// change: what the agent's answer is put into. request: asks it.
template <class Request>
fcoe_status RespondToChange(fcoe_session* session, Change& change, fcoe_list** errors, fcoe_char** message,
                            Request request, fcoe_char* wwpn) {
    Reset(errors);
    const auto work = [&]() -> Outcome {
        const CQelLockGuard turn(g_turn);
        change = request(AgentOf(session));
        if (wwpn && change.wwpn.size() >= WWPN_UNITS)
            throw Ended(FCOE_FAILED, "The agent gave a port name that is longer than a name can be.");
        return std::move(change.outcome);
    };
    return Respond(message, work, [&](fcoe_status status) {
        if (status == FCOE_OK && wwpn)
            *std::ranges::copy(change.wwpn, wwpn).out = L'\0';
        if (status == FCOE_REFUSED && errors)
            *errors = GiveOut(std::move(change.errors));
    });
}

} // namespace
} // namespace capi

using namespace capi;

uint32_t fcoe_api_version(void) {
    return FCOE_API_VERSION_MAJOR << 16 | FCOE_API_VERSION_MINOR;
}

const fcoe_char* fcoe_status_text(fcoe_status status) {
    return StatusText(status);
}

void fcoe_free(void* block) {
    FreeForHost(block);
}

fcoe_status fcoe_open(const fcoe_char* agentFile, uint32_t flags, fcoe_session** session, fcoe_char** message) {
    Reset(session);
    fcoe_session* opened = nullptr;
    const auto work = [&]() -> Outcome {
        Need(session, "The place for the session");
        NeedNoFlags(flags);
        if (agentFile && !*agentFile)
            throw Ended(FCOE_BAD_ARGUMENT,
                        "The agent's file is an empty text; the registered one is asked for by null.");
        const CQelLockGuard turn(g_turn);
        opened = OpenSession(agentFile ? agentFile : L"");
        return {};
    };
    const auto giveOut = [&](fcoe_status status) {
        if (status == FCOE_OK)
            *session = opened;
    };
    return Respond(message, work, giveOut, !agentFile);
}

void fcoe_close(fcoe_session* session) {
    if (!session)
        return;
    const auto close = [](void* closed) {
        const CQelLockGuard turn(g_turn);
        CloseSession(static_cast<fcoe_session*>(closed));
    };
    if (!IsSingleThreaded() || !RunInOwnThread(close, session))
        close(session);
}

fcoe_status fcoe_enumerate(fcoe_session* session, fcoe_kind kind, const fcoe_char* adapter, uint32_t flags,
                           fcoe_list** list, fcoe_char** message) {
    Reset(list);
    Answer answer;
    const auto work = [&]() -> Outcome {
        Need(list, "The place for the list");
        NeedNoFlags(flags);
        const CQelLockGuard turn(g_turn);
        answer = Enumerate(AgentOf(session), kind, adapter, Form::List);
        return std::move(answer.outcome);
    };
    return Respond(message, work, [&](fcoe_status status) {
        if (HasAnswer(status))
            *list = GiveOut(std::move(answer.list));
    });
}

uint32_t fcoe_list_count(const fcoe_list* list) {
    const List* const found = FindList(list);
    return found ? found->Count() : 0;
}

const void* fcoe_list_at(const fcoe_list* list, uint32_t index) {
    const List* const found = FindList(list);
    return found ? found->At(index) : nullptr;
}

void fcoe_list_free(fcoe_list* list) {
    DropList(list);
}

fcoe_status fcoe_enumerate_json(fcoe_session* session, fcoe_kind kind, const fcoe_char* adapter, uint32_t flags,
                                char** json, fcoe_char** message) {
    Reset(json);
    void* text = nullptr;
    const auto work = [&]() -> Outcome {
        Need(json, "The place for the JSON");
        NeedNoFlags(flags);
        const CQelLockGuard turn(g_turn);
        Answer answer = Enumerate(AgentOf(session), kind, adapter, Form::Json);
        text = CopyForHost(answer.json.c_str(), answer.json.size() + 1);
        if (!text)
            throw std::bad_alloc();
        return std::move(answer.outcome);
    };
    const fcoe_status status = Respond(message, work, [](fcoe_status) {});
    if (HasAnswer(status))
        *json = static_cast<char*>(text);
    else
        FreeForHost(text);
    return status;
}

fcoe_status fcoe_vport_create(fcoe_session* session, const fcoe_char* adapter, fcoe_char* wwpn, uint32_t lockOwner,
                              fcoe_list** errors, fcoe_char** message) {
    Change change;
    const auto request = [&](SharedAgent& shared) {
        Need(wwpn, "The port's name");
        return CreateVPort(shared, adapter, NameIn(wwpn), lockOwner);
    };
    return RespondToChange(session, change, errors, message, request, wwpn);
}

fcoe_status fcoe_vport_delete(fcoe_session* session, const fcoe_char* adapter, const fcoe_char* wwpn,
                              uint32_t lockOwner, fcoe_list** errors, fcoe_char** message) {
    Change change;
    const auto request = [&](SharedAgent& shared) {
        Need(wwpn, "The port's name");
        return DeleteVPort(shared, adapter, wwpn, lockOwner);
    };
    return RespondToChange(session, change, errors, message, request, nullptr);
}

fcoe_status fcoe_generate_wwpn(fcoe_session* session, const fcoe_char* adapter, fcoe_char* wwpn, fcoe_char** message) {
    if (wwpn)
        *wwpn = L'\0';
    Change change;
    const auto request = [&](SharedAgent& shared) {
        Need(wwpn, "The place for the port's name");
        return GenerateWwpn(shared, adapter);
    };
    return RespondToChange(session, change, nullptr, message, request, wwpn);
}

fcoe_status fcoe_refresh_targets(fcoe_session* session, const fcoe_char* adapter, fcoe_char** message) {
    const auto work = [&]() -> Outcome {
        const CQelLockGuard turn(g_turn);
        return RefreshTargets(AgentOf(session), adapter);
    };
    return Respond(message, work, [](fcoe_status) {});
}
