#include "simulator/verify/Ask.h"
#include "simulator/verify/Library.h"

namespace verify {

Outcome AskLibrary(const Request& request, Listener& listener) {
    Asker asker(Neighbour::Library, request, listener);
    Outcome outcome;
    CQelModule module;
    std::string why;
    if (!asker.Ask("LoadLibrary", {}, [&] { module = LoadFile(request.file, why); }))
        return outcome;
    if (!module) {
        asker.Tell("load", {}, {}, why);
        return outcome;
    }
    {
        Library library{asker, {}, {}, {}};
        AskExports(library, module);
        OpenAdapters(library, module);
        for (auto& adapter : library.adapters) {
            outcome.adapters.push_back(adapter.identifier);
            AskRecords(library, adapter);
            AskLists(library, adapter);
        }
        AskByThreads(asker, library.readings);
        AskForHandle0(library);
        CloseAdapters(library);
    }
    if (!asker.Ask("FreeLibrary", {}, [&] { module.Reset(); }))
        module.Release(); // it stays
    outcome.calls = asker.Calls();
    return outcome;
}

} // namespace verify
