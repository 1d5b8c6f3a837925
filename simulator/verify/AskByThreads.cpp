#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include <fmt/format.h>

#include "simulator/verify/Answer.h"

namespace verify {
namespace {

constexpr std::size_t THREADS = 4;
constexpr int ROUNDS = 30;
constexpr std::chrono::milliseconds TIME(200); // for one function

struct Expected {
    const Reading* reading;
    Answer answer;
};

std::string Difference(const Answer& expected, const Answer& got) {
    return expected.status == got.status ? std::string("another output")
                                         : fmt::format("status {} instead of {}", got.status, expected.status);
}

// One thread: asks for its own adapter, or whatever is its own, again and again.
void Repeat(Asker& asker, const Expected& expected, std::chrono::steady_clock::time_point end) {
    for (int round = 0; round < ROUNDS && (round == 0 || std::chrono::steady_clock::now() < end); ++round) {
        const Reading& reading = *expected.reading;
        Answer answer;
        if (!asker.CallWithin(reading.function, reading.adapter, [&] { answer = reading.read(ZEROS); }))
            return;
        if (answer != expected.answer) {
            asker.Tell("threads", reading.function, reading.adapter, Difference(expected.answer, answer));
            return;
        }
    }
}

void AskFunction(Asker& asker, std::string_view function, const std::vector<Reading>& readings) {
    std::vector<Expected> expected;
    for (const Reading& reading : readings) {
        Answer now;
        if (reading.function == function && expected.size() < THREADS &&
            !asker.IsTold("other_answer", function, reading.adapter) &&
            asker.Ask(function, reading.adapter, [&] { now = reading.read(ZEROS); }))
            expected.push_back({&reading, now});
    }
    if (expected.empty() || !asker.Begin(fmt::format("threads {}", function)))
        return;
    std::atomic<std::size_t> arrived{0};
    const auto end = std::chrono::steady_clock::now() + TIME;
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < THREADS; ++i)
        threads.emplace_back([&, i] {
            // Not by std::latch: with mingw's C++ library a thread may wait for it for ever.
            for (++arrived; arrived < THREADS;)
                std::this_thread::yield();
            Repeat(asker, expected[i % expected.size()], end);
        });
}

} // namespace

void AskByThreads(Asker& asker, const std::vector<Reading>& readings) {
    std::vector<std::string_view> asked;
    for (const Reading& reading : readings) {
        if (std::ranges::find(asked, reading.function) != asked.end())
            continue;
        asked.push_back(reading.function);
        AskFunction(asker, reading.function, readings);
    }
}

} // namespace verify
