#include "simulator/verify/Asker.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

namespace verify {

std::uint64_t Asker::Milliseconds() {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::string Asker::Thrown(const std::exception& error) {
    return fmt::format("\"{}\"", error.what());
}

std::size_t Asker::IndexOf(std::string_view function) {
    const std::lock_guard lock(m_lock);
    const auto found = std::ranges::find(m_functions, function);
    if (found != m_functions.end())
        return static_cast<std::size_t>(found - m_functions.begin());
    if (m_functions.size() == MAX_FUNCTIONS)
        throw std::logic_error("too many functions");
    m_functions.emplace_back(function);
    return m_functions.size() - 1;
}

bool Asker::Begin(std::string_view question) {
    if (m_request.skipped.contains(std::string(question)))
        return false;
    m_listener.Asking(question);
    return true;
}

// A call that is slow once may have met a machine that is busy.
void Asker::End(std::string_view function, std::string_view adapter, std::uint64_t took) {
    const std::string key = fmt::format("{} {}", function, adapter);
    const auto before = m_fastest.find(key);
    if (before == m_fastest.end()) {
        m_fastest.emplace(key, took);
        return;
    }
    before->second = std::min(before->second, took);
    if (before->second > m_request.slowMs)
        Tell("slow", function, adapter, fmt::format("over {} ms", before->second / 100 * 100));
}

void Asker::Tell(std::string_view code, std::string_view function, std::string_view adapter, const std::string& found) {
    FindRule(m_neighbour, code, function); // one that the manual has
    const std::lock_guard lock(m_lock);
    if (m_told.insert(fmt::format("{} {} {}", code, function, adapter)).second)
        m_listener.Found({std::string(code), std::string(function), std::string(adapter), found});
}

bool Asker::IsTold(std::string_view code, std::string_view function, std::string_view adapter) {
    const std::lock_guard lock(m_lock);
    return m_told.contains(fmt::format("{} {} {}", code, function, adapter));
}

std::size_t Asker::TellCount() {
    const std::lock_guard lock(m_lock);
    return m_told.size();
}

std::map<std::string, unsigned> Asker::Calls() const {
    std::map<std::string, unsigned> calls;
    for (std::size_t i = 0; i < m_functions.size(); ++i)
        calls[m_functions[i]] = m_calls[i];
    return calls;
}

} // namespace verify
