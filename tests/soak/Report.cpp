#include "tests/soak/Report.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

namespace soak {
namespace {

// What the loader, COM and the run time may add in the whole run. A leak of the agent's is at least some bytes a call.
constexpr long long HEAP_TOLERANCE = 65536;
// COM keeps connections, as many as were in use at once, with a pipe and an event each.
constexpr long long HANDLE_TOLERANCE = 2 * WORKERS;
// COM's own threads end when they have been idle for a while. The agent starts none.
constexpr long long THREAD_TOLERANCE = WORKERS;

struct Sum {
    long long calls = 0, checked = 0, exact = 0, mismatches = 0, longest = 0;

    void Add(const OperationFigures& figures) {
        calls += figures.calls;
        checked += figures.checked;
        exact += figures.exact;
        mismatches += figures.mismatches;
        longest = std::max<long long>(longest, figures.longest);
    }
};

Sum SumOf(const SharedState& shared, unsigned operation) {
    Sum sum;
    for (const ChildFigures& child : shared.children)
        sum.Add(child.operations[operation]);
    return sum;
}

Sum Total(const SharedState& shared) {
    Sum total;
    for (const ChildFigures& child : shared.children)
        for (const OperationFigures& figures : child.operations)
            total.Add(figures);
    return total;
}

long long Count(const SharedState& shared, std::atomic<long long> ChildFigures::*figure) {
    long long sum = 0;
    for (const ChildFigures& child : shared.children)
        sum += child.*figure;
    return sum;
}

void PrintRow(const char* name, const Sum& sum) {
    fmt::print("{:<20}{:>10}{:>10}{:>10}{:>12}{:>12.1f} ms\n", name, sum.calls, sum.checked, sum.exact, sum.mismatches,
               sum.longest / 1000.0);
}

void JudgeFootprint(unsigned child, const ChildFigures& figures, std::vector<std::string>& failures) {
    const auto Fail = [&](const char* what, long long first, long long last) {
        failures.push_back(fmt::format("child {} holds {} {} instead of {}", child, last, what, first));
    };
    if (!figures.measured)
        failures.push_back(fmt::format("child {} was not measured", child));
    if (figures.last.heap > figures.first.heap + HEAP_TOLERANCE)
        Fail("bytes", figures.first.heap, figures.last.heap);
    if (figures.last.handles > figures.first.handles + HANDLE_TOLERANCE)
        Fail("handles", figures.first.handles, figures.last.handles);
    if (figures.last.threads > figures.first.threads + THREAD_TOLERANCE)
        Fail("threads", figures.first.threads, figures.last.threads);
}

} // namespace

std::string ProgressLine(const SharedState& shared, unsigned long long seconds, long long dcbRestarts) {
    const Sum total = Total(shared);
    std::string held;
    for (const ChildFigures& child : shared.children)
        held += fmt::format("; {} KB, {} handles", child.last.heap / 1024, child.last.handles);
    return fmt::format("{:>5} s  {} calls, {} answers checked, {} exactly, {} mismatches; {} generations, {} DCB "
                       "restarts, {} restarts and {} loads of the agent{}",
                       seconds, total.calls, total.checked, total.exact, total.mismatches, shared.generationNumber + 1,
                       dcbRestarts, Count(shared, &ChildFigures::restarts), Count(shared, &ChildFigures::loads), held);
}

bool Report(const SharedState& shared, const RunFigures& run, std::vector<std::string> failures) {
    fmt::print("{:<20}{:>10}{:>10}{:>10}{:>12}{:>15}\n", "operation", "calls", "checked", "exactly", "mismatches",
               "longest");
    for (unsigned operation = 0; operation < OPERATIONS; ++operation) {
        const Sum sum = SumOf(shared, operation);
        PrintRow(OPERATION_NAMES[operation], sum);
        if (sum.calls == 0)
            failures.push_back(fmt::format("{} was never called", OPERATION_NAMES[operation]));
        else if (sum.exact == 0)
            failures.push_back(fmt::format("no answer of {} was checked exactly", OPERATION_NAMES[operation]));
    }
    const Sum total = Total(shared);
    PrintRow("total", total);
    if (total.mismatches != 0)
        failures.push_back(fmt::format("{} mismatches", total.mismatches));

    const long long restarts = Count(shared, &ChildFigures::restarts),
                    badLines = Count(shared, &ChildFigures::badLogLines),
                    left = Count(shared, &ChildFigures::leftModules);
    fmt::print(
        "\n{} topology generations, {} DCB restarts, {} uninstalls and starts, {} loads and unloads; {} log lines\n\n",
        run.generations, run.dcbRestarts, restarts, Count(shared, &ChildFigures::loads),
        Count(shared, &ChildFigures::logLines));
    if (badLines != 0)
        failures.push_back(fmt::format("{} bad log lines", badLines));
    if (left != 0)
        failures.push_back(fmt::format("{} modules were left behind", left));
    if (restarts == 0 || run.dcbRestarts == 0)
        failures.push_back("nothing was restarted");

    fmt::print("{:<10}{:>22}{:>18}{:>18}\n", "child", "heap bytes", "handles", "threads");
    for (unsigned child = 0; child < CHILDREN; ++child) {
        const ChildFigures& figures = shared.children[child];
        for (const auto& [when, print] : {std::pair{"first", figures.first}, std::pair{"last", figures.last}})
            fmt::print("{} {:<8}{:>22}{:>18}{:>18}\n", child, when, print.heap, print.handles, print.threads);
        JudgeFootprint(child, figures, failures);
    }
    fmt::print("\n");
    for (const std::string& failure : failures)
        fmt::print("FAILED {}\n", failure);
    fmt::print("soak {} {} s, --seed {}\n", failures.empty() ? "survived" : "failed after", run.seconds, run.seed);
    std::fflush(stdout);
    return failures.empty();
}

} // namespace soak
