#include "tools/recording/Journal.h"

#include <algorithm>

namespace recording {

void Journal::Put(const Request& request, const Reply& reply) {
    auto& runs = replies[request];
    if (runs.empty() || runs.back().reply != reply)
        runs.push_back({reply, 0});
    ++runs.back().times;
}

void Journal::Note(const std::string& note) {
    if (std::ranges::find(notes, note) == notes.end())
        notes.push_back(note);
}

} // namespace recording
