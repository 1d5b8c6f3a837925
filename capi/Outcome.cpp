#include "capi/Outcome.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include <windows.h>

#include "tools/reading/LoadedAgent.h"
#include "tools/reading/LogHint.h"

namespace capi {
namespace {

using reading::NoAgent;

// Told when there is no memory for a text.
fcoe_char g_noMemory[] =
    L"Memory is exhausted. Free some and try again; whether a change was carried out is not known.";

constexpr char REINSTALL[] = " The registry names this file; reinstall the agent.";
constexpr char CHECK_FILE[] = " Check the path of the agent's file.";

Outcome OutcomeOf(const NoAgent& reason, bool isRegistered) {
    switch (reason.Reason()) {
    case NoAgent::Why::NotInstalled:
        return {FCOE_NOT_INSTALLED, std::string(reason.what()) + " Install the agent."};
    case NoAgent::Why::NotLoaded:
    case NoAgent::Why::NotTheAgent:
        return {FCOE_NOT_LOADED, reason.what() + std::string(isRegistered ? REINSTALL : CHECK_FILE)};
    default:
        return {FCOE_NOT_STARTED, std::string(reason.what()) + " " + reading::LogHint()};
    }
}

Outcome Failed(const std::string& how) {
    return {FCOE_FAILED, "The agent ended the call with " + how + ". " + reading::LogHint()};
}

} // namespace

Outcome OutcomeOfException(bool isRegistered) noexcept {
    try {
        try {
            throw;
        } catch (const Ended& ended) {
            return {ended.Status(), ended.what()};
        } catch (const NoAgent& reason) {
            return OutcomeOf(reason, isRegistered);
        } catch (const std::bad_alloc&) {
            return {FCOE_NO_MEMORY, {}};
        } catch (const std::exception& exception) {
            return Failed(std::string("an exception: ") + exception.what());
        } catch (...) {
            return Failed("an unknown exception");
        }
    } catch (...) { // while the text was put together
        return {FCOE_NO_MEMORY, {}};
    }
}

bool Tell(const Outcome& outcome, fcoe_char** message) noexcept {
    if (!message || outcome.status == FCOE_OK)
        return true;
    *message = g_noMemory;
    if (outcome.text.empty())
        return outcome.status == FCOE_NO_MEMORY;
    const int bytes = static_cast<int>(outcome.text.size() + 1);
    const int length = MultiByteToWideChar(CP_UTF8, 0, outcome.text.c_str(), bytes, nullptr, 0);
    auto* text = static_cast<fcoe_char*>(std::malloc(static_cast<std::size_t>(length) * sizeof(fcoe_char)));
    if (!text)
        return false;
    MultiByteToWideChar(CP_UTF8, 0, outcome.text.c_str(), bytes, text, length);
    *message = text;
    return true;
}

void* CopyForHost(const void* bytes, std::size_t size) noexcept {
    void* const block = std::malloc(size);
    return block ? std::memcpy(block, bytes, size) : nullptr;
}

void FreeForHost(void* block) noexcept {
    if (block != g_noMemory)
        std::free(block);
}

const fcoe_char* StatusText(fcoe_status status) noexcept {
    switch (status) {
    case FCOE_OK:
        return L"The call was carried out completely.";
    case FCOE_INCOMPLETE:
        return L"The agent could not read everything; the list holds what it could.";
    case FCOE_REFUSED:
        return L"The request was refused; nothing was changed.";
    case FCOE_BAD_ARGUMENT:
        return L"An argument is wrong; nothing was done.";
    case FCOE_NOT_INSTALLED:
        return L"The agent is not installed.";
    case FCOE_NOT_LOADED:
        return L"The agent's module cannot be loaded.";
    case FCOE_NOT_STARTED:
        return L"The agent was loaded but could not start; usually the core agent is missing.";
    case FCOE_NO_MEMORY:
        return L"Memory is exhausted.";
    case FCOE_FAILED:
        return L"The agent ended the call with an exception.";
    case FCOE_UNKNOWN_ADAPTER:
        return L"The agent does not know the adapter.";
    default:
        return L"The status is unknown to this version of the interface.";
    }
}

} // namespace capi
