#include "tools/log/SlowCalls.h"

#include <algorithm>

namespace agentlog {
namespace {

constexpr std::size_t MOST_KINDS = 4096; // a damaged log can have any names

} // namespace

void SlowCalls::OnExit(const OpenCalls& open, const LogLine* exit, double milliseconds) {
    if (!exit)
        return; // how long it took is not known
    const Call& call = open.calls[open.depth - 1];
    auto found = m_kinds.find(call.operation);
    if (found == m_kinds.end()) {
        if (m_kinds.size() == MOST_KINDS)
            return;
        found = m_kinds.try_emplace(call.operation).first;
        found->second.operation = call.operation;
        found->second.known = call.known;
    }
    Kind& kind = found->second;
    ++kind.calls;
    kind.own += std::max(0.0, milliseconds - call.children);
    if (milliseconds < kind.longest && kind.calls > 1)
        return;
    kind.longest = milliseconds;
    kind.time = exit->time;
    kind.request = open.request ? open.request->number : 0;
}

std::vector<SlowCalls::Kind> SlowCalls::Slowest(std::size_t count) const {
    std::vector<Kind> kinds;
    for (const auto& [name, kind] : m_kinds)
        kinds.push_back(kind);
    std::ranges::sort(kinds, [](const Kind& left, const Kind& right) {
        return left.own != right.own ? left.own > right.own : left.operation < right.operation;
    });
    kinds.resize(std::min(count, kinds.size()));
    return kinds;
}

} // namespace agentlog
