#include "tools/log/ProblemList.h"

#include <algorithm>

#include "tools/log/LogFile.h"

namespace agentlog {
namespace {

constexpr std::size_t MOST_KINDS = 2000; // further ones are counted only

std::string KeyOf(const Problem& problem) {
    std::string key(problem.requestOperation);
    for (const std::string& part :
         {std::to_string(problem.adapter), std::string(problem.function), std::string(problem.text),
          std::string(problem.meaning), std::to_string(problem.number.value_or(0))})
        key += '\n' + part;
    return key;
}

} // namespace

void ProblemList::OnProblem(const Problem& problem) {
    ++m_total;
    const std::string key = KeyOf(problem);
    auto found = m_places.find(key);
    if (found == m_places.end()) {
        if (m_kinds.size() == MOST_KINDS)
            return;
        found = m_places.emplace(key, m_kinds.size()).first;
        Kind kind;
        kind.neighbour = problem.neighbour;
        kind.function = problem.function;
        kind.argument = problem.kind;
        kind.number = problem.number;
        kind.request = problem.requestOperation;
        kind.adapter = problem.adapter;
        kind.adapterId = Utf8(problem.adapterId);
        kind.text = Utf8(problem.text);
        kind.meaning = problem.meaning;
        kind.advice = problem.advice;
        kind.firstTime = problem.time;
        kind.firstLine = problem.line;
        kind.firstRequest = problem.request;
        kind.process = problem.process;
        m_kinds.push_back(std::move(kind));
    }
    Kind& kind = m_kinds[found->second];
    ++kind.count;
    kind.lastTime = problem.time;
    kind.lastRequest = std::max(kind.lastRequest, problem.request);
}

} // namespace agentlog
