#include "tools/recording/Session.h"

#include <thread>
#include <utility>

#include <fmt/format.h>

namespace recording {
namespace {

constexpr std::size_t MAX_HANGING = 4;
// How often the watching thread looks; the other one does not wake it at each call.
constexpr std::chrono::milliseconds GLANCE(20);

// The turn that the thread was started for.
thread_local unsigned g_turn = 0;

} // namespace

void Session::Start(const std::function<void(Session&)>& ask) {
    std::thread([session = shared_from_this(), ask, turn = m_turn] {
        g_turn = turn;
        bool outOfMemory = false;
        try {
            ask(*session);
        } catch (const GivenUp&) {
            return;
        } catch (const std::bad_alloc&) {
            outOfMemory = true;
        }
        const std::lock_guard lock(session->m_mutex);
        if (turn != session->m_turn)
            return;
        session->m_outOfMemory = outOfMemory;
        session->m_done = true;
        session->m_changed.notify_all();
    }).detach();
}

Journal Session::Run(std::chrono::duration<double> limit, const std::function<void(Session&)>& ask) {
    const auto session = std::make_shared<Session>();
    const auto longest = std::chrono::duration_cast<Clock::duration>(limit);
    session->Start(ask);
    std::unique_lock lock(session->m_mutex);
    while (!session->m_done) {
        if (!session->m_current || Clock::now() < session->m_current->since + longest) {
            session->m_changed.wait_for(lock, GLANCE);
            continue;
        }
        session->m_journal.hanging.emplace(session->m_current->function, session->m_current->adapter);
        session->m_current.reset();
        ++session->m_turn;
        if (session->m_journal.hanging.size() == MAX_HANGING) {
            session->m_journal.Note(
                fmt::format("{} functions hang; what had not been asked by then is not there.", MAX_HANGING));
            break;
        }
        session->Start(ask);
    }
    ++session->m_turn; // nobody else changes anything any more
    if (session->m_outOfMemory)
        throw std::bad_alloc();
    return std::move(session->m_journal);
}

bool Session::Begin(const Request& request) {
    const std::lock_guard lock(m_mutex);
    CheckTurn();
    if (m_journal.hanging.contains({request.function, request.adapter}))
        return false;
    m_current = {request.function, request.adapter, Clock::now()};
    return true;
}

void Session::End(const Request* request, const Reply& reply) {
    const std::lock_guard lock(m_mutex);
    CheckTurn();
    m_current.reset();
    ++m_journal.calls;
    if (request)
        m_journal.Put(*request, reply);
}

void Session::CheckTurn() const {
    if (g_turn != m_turn)
        throw GivenUp();
}

} // namespace recording
