// The frame of every question to a neighbour: told before it is asked, timed, its exception caught.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/verify/Rules.h"

namespace verify {

struct Deviation {
    std::string code; // of a rule
    std::string function;
    std::string adapter; // empty: it is about none
    std::string found;   // what was seen
};

// Hears of what is asked and found while it goes on: a neighbour may end the process.
class Listener {
  public:
    virtual ~Listener() = default;
    // function: as in Request::skipped.
    virtual void Asking(std::string_view function) = 0;
    virtual void Found(const Deviation& deviation) = 0;
    // Before a wait of so long at most that is not the neighbour's.
    virtual void Waiting(unsigned milliseconds) = 0;
};

struct Request {
    std::wstring file;
    std::vector<std::string> adapters;  // identifiers that the library has to know
    std::vector<std::string> simulated; // the same, when it is a simulated library
    std::set<std::string> skipped;      // functions, or "threads FUNCTION", that are not called again
    unsigned slowMs = 500;              // what counts as slow
};

struct Outcome {
    std::vector<std::string> adapters;     // that were asked about; of a core agent: that do FCoE
    std::map<std::string, unsigned> calls; // by function
};

class Asker {
  public:
    Asker(Neighbour neighbour, const Request& request, Listener& listener)
        : m_neighbour(neighbour), m_request(request), m_listener(listener) {}

    // Makes the call unless it is skipped. False: there is no answer; what it threw is told.
    template <class Call> bool Ask(std::string_view function, std::string_view adapter, Call call) {
        if (!Begin(function))
            return false;
        const auto start = Milliseconds();
        const bool answered = CallWithin(function, adapter, call);
        End(function, adapter, Milliseconds() - start);
        return answered;
    }
    // As part of a question that has begun: by several threads at once.
    template <class Call> bool CallWithin(std::string_view function, std::string_view adapter, Call call) {
        ++m_calls[IndexOf(function)];
        try {
            call();
            return true;
        } catch (const std::exception& error) {
            Tell("exception", function, adapter, Thrown(error));
        } catch (...) {
            Tell("exception", function, adapter, "an object that is no std::exception");
        }
        return false;
    }
    // False: skipped.
    bool Begin(std::string_view question);
    // Once for each deviation, however often it is told.
    void Tell(std::string_view code, std::string_view function, std::string_view adapter, const std::string& found);
    bool IsTold(std::string_view code, std::string_view function, std::string_view adapter);

    void Wait(unsigned milliseconds) { m_listener.Waiting(milliseconds); }
    // How much is told.
    std::size_t TellCount();

    const Request& What() const { return m_request; }
    std::map<std::string, unsigned> Calls() const;

  private:
    static constexpr std::size_t MAX_FUNCTIONS = 64;

    static std::uint64_t Milliseconds();
    static std::string Thrown(const std::exception& error);
    std::size_t IndexOf(std::string_view function);
    void End(std::string_view function, std::string_view adapter, std::uint64_t took);

    const Neighbour m_neighbour;
    const Request& m_request;
    Listener& m_listener;
    std::mutex m_lock; // for what follows, but for the numbers of calls
    std::set<std::string> m_told;
    std::map<std::string, std::uint64_t> m_fastest; // by function and adapter
    std::vector<std::string> m_functions;           // by index
    std::atomic<unsigned> m_calls[MAX_FUNCTIONS] = {};
};

} // namespace verify
