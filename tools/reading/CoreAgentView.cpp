#include "tools/reading/CoreAgentView.h"

#include <memory>
#include <new>

#include <windows.h>

#include "FcoeAgent/CoreAgentPvt.h"
#include "tools/reading/Registry.h"
#include "tools/reading/Text.h"

namespace reading {
namespace {

struct Release {
    using pointer = HMODULE;
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

// Held for the time of the questions.
std::unique_ptr<HMODULE, Release> LoadedCoreAgent() {
    const RegistryText registered = RegisteredAgent(L"CoreAgnt");
    HMODULE module = nullptr;
    GetModuleHandleExW(0, registered.Found() ? registered.text.c_str() : L"CoreAgnt.DLL", &module);
    return std::unique_ptr<HMODULE, Release>(module);
}

// Whether the call came back.
template <class Call> bool Ask(Call call) {
    try {
        call();
        return true;
    } catch (const std::bad_alloc&) {
        throw std::bad_alloc(); // a new one: the type of what was thrown may lie in the core agent's module
    } catch (...) {
        return false;
    }
}

// The simulated suite's modules export this; others have nothing of the kind.
std::string TopologyError(HMODULE module) {
    using PFN_TopologyError = const char* (*)();
    const auto get =
        reinterpret_cast<PFN_TopologyError>(reinterpret_cast<void*>(GetProcAddress(module, "OrvanSim_TopologyError")));
    const char* error = get ? get() : nullptr;
    return error ? error : std::string();
}

} // namespace

bool HasCoreAgent() {
    return LoadedCoreAgent() != nullptr;
}

std::string WrongTopology() {
    const auto module = LoadedCoreAgent();
    return module ? TopologyError(module.get()) : std::string();
}

CoreAgentView AskCoreAgent() {
    CoreAgentView view;
    const auto module = LoadedCoreAgent();
    const auto get = module ? reinterpret_cast<PFN_GetCoreAgentPvt>(
                                  reinterpret_cast<void*>(GetProcAddress(module.get(), "GetCoreAgentPvt")))
                            : nullptr;
    ICoreAgentPvt* core = nullptr;
    if (!get || !Ask([&] { core = get(); }) || !core)
        return view;
    view.loaded = true;
    std::vector<CQelString> adapters;
    view.threw = !Ask([&] { view.error = core->EnumerateAdapters(adapters, 0).ulErrCode; });
    if (view.error != 0)
        view.topologyError = TopologyError(module.get());
    if (!view.Answered())
        return view;
    for (const CQelString& adapter : adapters) {
        view.adapters.push_back(ToUtf8(adapter));
        BYTE supported = 0;
        if (!Ask([&] { supported = core->SupportsFcoe(adapter); }))
            view.supportThrew.push_back(view.adapters.back());
        else if (supported)
            view.withFcoe.push_back(view.adapters.back());
    }
    return view;
}

} // namespace reading
