// The rules of the core agent. The texts are the manual's, too: plain sentences, functions and log lines in backquotes.
#pragma once

#include "simulator/verify/Rule.h"

namespace verify {

inline constexpr Rule CORE_RULES[] = {
    {"load", "", "the module is loaded",
     "it cannot be: no such file, made for another processor, a module or function that it needs is not there",
     "`GetFcoeAgent` yields null, the first time only. From then on there are no adapters, and changes are refused."},
    {"no_export", "GetCoreAgentPvt", "the export is looked up", "there is none",
     "The host's process ends in `GetFcoeAgent`: the agent trusts the module that the registry names."},
    {"no_interface", "GetCoreAgentPvt", "the interface", "it is null",
     "`GetFcoeAgent` yields null, the first time only. From then on there are no adapters, and changes are refused."},
    {"wild_slot", "WaitForApplyDone, EnumerateAdapters, GetAdapterInfo, StartLock, DoneLock, SupportsFcoe",
     "the interface's table, slots 13, 21, 25, 35, 36 and 79", "the slot is not the address of code",
     "The host's process ends at the first call."},

    {"exception", "GetCoreAgentPvt", "each call", "it throws a C++ exception",
     "The module is unloaded before the exception has ended: the host's process ends. After one without a "
     "destructor, such as a number, `GetFcoeAgent` yields null, the first time only, and from then on there are no "
     "adapters."},
    {"exception", "WaitForApplyDone", "each call", "it throws a C++ exception",
     "The log has \"Exception caught\"; the operation goes on, as if no change were pending."},
    {"exception", "EnumerateAdapters", "each call", "it throws a C++ exception",
     "There are no adapters; the answer is TRUE. The log has \"Exception caught\" and `EnumerateAdapters failed!`."},
    {"exception", "SupportsFcoe", "each call", "it throws a C++ exception",
     "The adapter is left out; the answer is TRUE. The log has \"Exception caught\"."},
    {"exception", "GetAdapterInfo", "each call", "it throws a C++ exception",
     "The adapter has no second identifier. The log has \"Exception caught\"."},
    {"crash", "", "each call", "it ends with a fault of the processor, or with an exception of another kind",
     "The host's process ends."},
    {"ends_process", "", "each call", "it ends the process", "The host's process ends."},
    {"hang", "", "each call", "it does not come back within the limit",
     "The host's thread waits for ever. In `GetAdapterInfo` all other threads of the host wait with it: the agent's "
     "lock is held meanwhile."},
    {"slow", "", "each call, twice", "it takes longer than what counts as slow, both times",
     "The host waits as long, each time: the agent has no limit."},
    {"other_answer", "", "each call, twice", "the answers differ, though nothing has changed",
     "What a host sees depends on the moment."},
    {"threads", "", "each call, by four threads at once", "an answer differs from the one that a single thread got",
     "Of two threads of a host one sees what was meant for the other, or nothing."},

    {"status", "EnumerateAdapters", "the result's code", "it is not 0",
     "There are no adapters; the answer is TRUE. The log has `EnumerateAdapters failed!`."},
    {"status", "GetAdapterInfo", "the result's code", "it is not 0",
     "Nothing by itself: the display name that was written counts, or none. It is the second identifier, and the "
     "source of errors."},
    {"detail", "", "the result's detail, with code 0", "it is not 0xFFFFFFFF", "Nothing: it is not looked at."},
    {"no_adapter", "EnumerateAdapters", "the adapters", "there are none",
     "There are no adapters; the answer is TRUE. The log has `EnumerateAdapters failed!`."},
    {"no_adapter", "SupportsFcoe", "each adapter", "none of them does FCoE",
     "There are no adapters; the answer is TRUE."},
    {"same_adapter", "EnumerateAdapters", "the identifiers", "two are equal",
     "The adapter, and all that belongs to it, is listed twice."},
    {"identifier", "EnumerateAdapters", "the identifiers", "one is empty, or has more than 251 characters",
     "The vendor library has no such adapter: its records and lists are empty, with TRUE."},
    {"broken_text", "EnumerateAdapters, GetAdapterInfo", "the texts", "one has no terminator where its length says",
     "The agent reads on behind it: what follows in memory is shown, or the host's process ends."},
    {"foreign_memory", "EnumerateAdapters, GetAdapterInfo", "the memory of lists and texts",
     "it is not of the C++ run time that agent and neighbours share",
     "The agent frees it where it was not taken from: the host's process ends sooner or later."},
    {"other_adapter", "GetAdapterInfo", "the identifier that comes back", "it is another one",
     "The second identifier is perhaps that of another adapter: only the display name is looked at."},
    {"no_display_name", "GetAdapterInfo", "the display name, with code 0", "it is empty",
     "The adapter has no second identifier, and errors of its virtual ports have no source."},
    {"unknown_adapter", "GetAdapterInfo", "an identifier that no adapter has",
     "it is answered with code 0 and a display name",
     "An adapter that the host asks for by a wrong identifier shows this second identifier."},
};

} // namespace verify
