// The module that is verified, loaded from its file.
#pragma once

#include <map>
#include <string>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "simulator/verify/Asker.h"

namespace verify {

// Its dependencies are looked for beside it, too. Empty: why tells it in a sentence.
CQelModule LoadFile(const std::wstring& file, std::string& why);

template <class F> F ExportOf(const CQelModule& module, const char* name) {
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module.Get(), name)));
}

// Whether code lies at the address.
bool IsCode(const void* address);

// Loads the request's file, has its questions asked (questions: void(const CQelModule&)) and frees it; loading and
// freeing are asked like any other question. Returns the calls.
template <class Questions>
std::map<std::string, unsigned> AskModule(Asker& asker, const Request& request, Questions questions) {
    CQelModule module;
    std::string why;
    if (!asker.Ask("LoadLibrary", {}, [&] { module = LoadFile(request.file, why); }))
        return {};
    if (!module) {
        asker.Tell("load", {}, {}, why);
        return {};
    }
    questions(module);
    if (!asker.Ask("FreeLibrary", {}, [&] { module.Reset(); }))
        module.Release(); // it stays
    return asker.Calls();
}

} // namespace verify
