#include "simulator/verify/Ask.h"
#include "simulator/verify/Library.h"

namespace verify {

Outcome AskLibrary(const Request& request, Listener& listener) {
    Asker asker(Neighbour::Library, request, listener);
    Outcome outcome;
    outcome.calls = AskModule(asker, request, [&](const CQelModule& module) {
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
    });
    return outcome;
}

} // namespace verify
