// Calls into neighbours, each of which may fail, throw or never come back.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>

#include "tools/recording/Journal.h"

namespace recording {

// The thread was given up: its call lasted too long. It ends.
struct GivenUp {};

// One thread asks, another watches that each call returns. A call that does not is left behind with its thread, and
// another thread begins anew without asking that function for that adapter. Whoever asks keeps the session.
class Session : public std::enable_shared_from_this<Session> {
  public:
    // Runs ask on threads of its own until one of them came to its end, or too many calls hang. limit: of one call.
    // The journal is what was recorded by then; nobody changes it any more.
    static Journal Run(std::chrono::duration<double> limit, const std::function<void(Session&)>& ask);

    // Asks, and puts the reply into the journal. call: void(Reply&). None: the function hangs and is not asked.
    template <class Call> std::optional<Reply> Ask(const Request& request, Call call) {
        if (!Begin(request))
            return std::nullopt;
        Reply reply;
        try {
            call(reply);
        } catch (const std::bad_alloc&) {
            End(nullptr, reply);
            throw std::bad_alloc(); // a new one: the type of what was thrown may lie in the neighbour's module
        } catch (...) {
            reply = {};
            reply.threw = true;
        }
        End(&request, reply);
        return reply;
    }
    // Adds to the journal what is no reply. change: void(Journal&).
    template <class Change> void Tell(Change change) {
        const std::lock_guard lock(m_mutex);
        CheckTurn();
        change(m_journal);
    }

  private:
    using Clock = std::chrono::steady_clock;
    struct Current {
        std::string function;
        std::string adapter;
        Clock::time_point since;
    };

    bool Begin(const Request& request);
    // request: null: nothing is put into the journal.
    void End(const Request* request, const Reply& reply);
    void CheckTurn() const; // needs the lock
    void Start(const std::function<void(Session&)>& ask);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Journal m_journal;
    std::optional<Current> m_current;
    unsigned m_turn = 0; // the thread's that asks now
    bool m_done = false;
    bool m_outOfMemory = false;
};

} // namespace recording
