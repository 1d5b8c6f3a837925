#include "tests/faults/Matrix.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <numeric>
#include <thread>

#include <fmt/format.h>

#include <windows.h>

#include "tests/kit/CrashReport.h"

namespace {

constexpr DWORD CELL_LIMIT = 600000; // milliseconds; lists whose lying counts have thousands of entries read take long

// Seen at once, also in a file.
void Report(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

// The cell that runs, for the reports of those that do not end.
char g_cell[512];
std::atomic<ULONGLONG> g_started; // tick at which it began; 0: none runs

void PrintCell(const char* what) {
    std::fprintf(stderr, "\n%s: %s\n", what, g_cell);
    std::fflush(stderr);
}

LPTOP_LEVEL_EXCEPTION_FILTER g_crash;
std::terminate_handler g_terminate;

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
    PrintCell("CRASH in");
    return g_crash ? g_crash(exception) : EXCEPTION_CONTINUE_SEARCH;
}

void OnTerminate() {
    PrintCell("TERMINATE in");
    g_terminate();
}

void Watch() {
    for (;;) {
        Sleep(500);
        const ULONGLONG started = g_started;
        if (started == 0 || GetTickCount64() - started < CELL_LIMIT)
            continue;
        PrintCell("HANG in");
        StartWatchdog(1); // prints the stacks and ends the process
        Sleep(INFINITE);
    }
}

} // namespace

Matrix::Matrix(const Options& options) : m_options(options) {
    InstallCrashReport();
    g_crash = SetUnhandledExceptionFilter(OnCrash);
    g_terminate = std::set_terminate(OnTerminate);
    std::thread(Watch).detach();
}

bool Matrix::Wants(const std::string& neighbour) const {
    return m_options.neighbour.empty() || m_options.neighbour == neighbour;
}

unsigned long long Matrix::Ran() const {
    return std::accumulate(m_rows.begin(), m_rows.end(), 0ull,
                           [](unsigned long long sum, const ROW& row) { return sum + row.cells; });
}

void Matrix::Row(const std::string& neighbour, const std::string& aspect) {
    if (m_options.function.empty() || m_options.function == aspect)
        Report(fmt::format("{:>6} cells so far; {}: {}", Ran(), neighbour, aspect));
    m_rows.push_back({neighbour, aspect});
}

void Matrix::Cell(const std::string& name, const std::function<std::string()>& run) {
    ROW& row = m_rows.back();
    if (!m_options.function.empty() && m_options.function != row.aspect)
        return;
    if (m_count++ % m_options.every != 0)
        return;
    const std::string whole = fmt::format("{}: {}: {}", row.neighbour, row.aspect, name);
    if (m_options.verbose)
        Report("  " + name);
    g_cell[whole.copy(g_cell, sizeof g_cell - 1)] = '\0';
    g_started = GetTickCount64();
    std::string problem;
    try {
        problem = run();
    } catch (const std::exception& exception) {
        problem = fmt::format("threw {}", exception.what());
    } catch (...) {
        problem = "threw";
    }
    g_started = 0;
    ++row.cells;
    if (problem.empty())
        return;
    ++row.failed;
    m_failures.push_back(whole + ": " + problem);
    Report("FAILED " + m_failures.back());
}

void Matrix::Cells(unsigned long long count, const std::string& name,
                   const std::function<std::string(unsigned long long)>& run) {
    for (unsigned long long number = 1; number <= count; ++number)
        Cell(fmt::format("{} {}", name, number), [&] { return run(number); });
}

bool Matrix::Finish() const {
    std::size_t width = 0;
    for (const ROW& row : m_rows)
        width = std::max(width, row.aspect.size());
    ROW sum{"total", ""};
    const auto Print = [width](const ROW& row) {
        fmt::print("{:<16}{:<{}}{:>9}{:>10}{:>8}\n", row.neighbour, row.aspect, width + 2, row.cells,
                   row.cells - row.failed, row.failed);
    };
    fmt::print("{:<16}{:<{}}{:>9}{:>10}{:>8}\n", "neighbour", "function", width + 2, "cells", "survived", "failed");
    for (const ROW& row : m_rows) {
        if (row.cells == 0)
            continue;
        Print(row);
        sum.cells += row.cells;
        sum.failed += row.failed;
    }
    Print(sum);
    for (const std::string& failure : m_failures)
        fmt::print("FAILED {}\n", failure);
    std::fflush(stdout);
    return sum.failed == 0 && sum.cells != 0;
}
