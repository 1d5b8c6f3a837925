#include "simulator/verify/Child.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <queue>
#include <set>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "simulator/control/KernelHandle.h"
#include "simulator/topology/Text.h"
#include "simulator/verify/Library.h"

namespace verify {
namespace {

using json = nlohmann::ordered_json;
using sim::KernelHandle;

// Lines of a pipe, which another thread reads, so that one can wait for them for a while.
class Lines {
  public:
    explicit Lines(KernelHandle pipe) : m_pipe(std::move(pipe)), m_reader([this] { ReadAll(); }) {}

    enum class Next { Line, End, Timeout };
    Next Take(std::string& line, std::chrono::milliseconds limit) {
        std::unique_lock lock(m_lock);
        if (!m_changed.wait_for(lock, limit, [this] { return m_ended || !m_lines.empty(); }))
            return Next::Timeout;
        if (m_lines.empty())
            return Next::End;
        line = std::move(m_lines.front());
        m_lines.pop();
        return Next::Line;
    }

  private:
    void ReadAll() {
        char block[4096];
        std::string rest;
        for (DWORD size = 0; ReadFile(m_pipe.Get(), block, sizeof block, &size, nullptr) && size > 0;) {
            rest.append(block, size);
            const std::lock_guard lock(m_lock);
            for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
                m_lines.push(rest.substr(0, end));
                rest.erase(0, end + 1);
            }
            m_changed.notify_all();
        }
        const std::lock_guard lock(m_lock);
        m_ended = true;
        m_changed.notify_all();
    }

    KernelHandle m_pipe;
    std::mutex m_lock; // for what follows
    std::condition_variable m_changed;
    std::queue<std::string> m_lines;
    bool m_ended = false;
    std::jthread m_reader;
};

// How one asking process went.
struct Run {
    bool done = false;
    std::string asking;             // the last question; empty: none was asked
    std::optional<Deviation> fault; // what the process itself said of its end
    bool hung = false;
    DWORD code = 0; // its exit code
};

class Processes {
  public:
    Processes(std::wstring command, std::chrono::milliseconds limit) : m_command(std::move(command)), m_limit(limit) {}

    Verdict AskAll() {
        constexpr int MOST_LOST = 3; // starts that came to nothing
        for (int lost = 0; m_verdict.error.empty();) {
            const Run run = AskOnce();
            if (run.done || !m_verdict.error.empty())
                break;
            MendVendorMutex();
            if (run.asking.empty()) {
                if (++lost == MOST_LOST)
                    m_verdict.error = fmt::format("the process that asks ended with {} before it asked", run.code);
                continue;
            }
            Add(EndOf(run));
            // Who cannot be loaded has nothing more to be asked.
            if (run.asking == "LoadLibrary" || !m_skipped.insert(run.asking).second)
                break;
        }
        return std::move(m_verdict);
    }

  private:
    std::wstring CommandLine(HANDLE pipe) const {
        std::wstring line = m_command;
        for (const auto& function : m_skipped)
            line += L" --skip \"" + sim::Wide(function) + L'"';
        return line + L" --report-to " + std::to_wstring(reinterpret_cast<std::uintptr_t>(pipe));
    }

    // What the process prints, and its neighbour with it, goes where errors go.
    bool Start(HANDLE pipe, PROCESS_INFORMATION& process) {
        std::wstring line = CommandLine(pipe);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        return CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    }

    Run AskOnce() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE read = nullptr, write = nullptr;
        if (!CreatePipe(&read, &write, &inherited, 0)) {
            m_verdict.error = fmt::format("no pipe can be made: error {}", GetLastError());
            return {};
        }
        SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
        KernelHandle reading(read), writing(write);
        PROCESS_INFORMATION process{};
        Run run;
        if (!Start(write, process)) {
            run.code = GetLastError();
            return run;
        }
        writing.Reset();
        const KernelHandle owner(process.hProcess), thread(process.hThread);
        Lines lines(std::move(reading));
        Follow(lines, run);
        if (run.hung)
            TerminateProcess(process.hProcess, ERROR_TIMEOUT);
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &run.code);
        return run;
    }

    void Follow(Lines& lines, Run& run) {
        std::chrono::milliseconds more(0);
        for (std::string line;;) {
            const Lines::Next next = lines.Take(line, run.done ? LONG_WAIT : m_limit + more);
            run.hung = next == Lines::Next::Timeout;
            if (next != Lines::Next::Line)
                return;
            const json object = json::parse(line, nullptr, false);
            more = std::chrono::milliseconds(object.value("waiting", 0u));
            if (object.contains("asking"))
                run.asking = object["asking"];
            else if (object.contains("code"))
                Add({object["code"], object["function"], object["adapter"], object["found"]});
            else if (object.contains("fault"))
                run.fault = Deviation{object["fault"], {}, {}, object["found"]};
            else if (object.contains("error"))
                m_verdict.error = object["error"];
            else if (object.contains("calls")) {
                object["adapters"].get_to(m_verdict.outcome.adapters);
                object["calls"].get_to(m_verdict.outcome.calls);
                run.done = true;
            }
        }
    }

    Deviation EndOf(const Run& run) const {
        constexpr std::string_view BY_THREADS = "threads ";
        Deviation end = run.fault.value_or(Deviation{});
        end.function = run.asking;
        if (end.function.starts_with(BY_THREADS)) {
            end.function.erase(0, BY_THREADS.size());
            if (!end.found.empty())
                end.found += ", while several threads asked";
        }
        constexpr DWORD FIRST_FAULT = 0xC0000000;
        if (run.hung) {
            end.code = "hang";
            end.found = fmt::format("over {} s", std::chrono::duration_cast<std::chrono::seconds>(m_limit).count());
        } else if (!run.fault) {
            end.code = run.code >= FIRST_FAULT ? "crash" : "ends_process";
            end.found = run.code >= FIRST_FAULT ? fmt::format("exception {:08X}", run.code)
                                                : fmt::format("the process ended with {}", run.code);
        }
        return end;
    }

    // A process that starts again finds again what the one before it found.
    void Add(const Deviation& deviation) {
        const auto same = std::ranges::find_if(m_verdict.deviations, [&](const Deviation& one) {
            return one.code == deviation.code && one.function == deviation.function && one.adapter == deviation.adapter;
        });
        if (same == m_verdict.deviations.end())
            m_verdict.deviations.push_back(deviation);
    }

    static constexpr std::chrono::milliseconds LONG_WAIT{10000}; // for the end of a process that has done its work

    const std::wstring m_command;
    const std::chrono::milliseconds m_limit;
    std::set<std::string> m_skipped;
    Verdict m_verdict;
};

} // namespace

Verdict AskInProcesses(const std::wstring& command, std::chrono::milliseconds limit) {
    return Processes(command, limit).AskAll();
}

} // namespace verify
