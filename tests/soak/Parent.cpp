#include "tests/soak/Parent.h"

#include <cstdio>
#include <mutex>
#include <thread>

#include <fmt/format.h>

#include <windows.h>

#include "Common/Src/Helper.h"
#include "simulator/control/World.h"
#include "simulator/topology/Text.h"
#include "tests/kit/CrashReport.h"
#include "tests/kit/DcbSystem.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"
#include "tests/soak/Report.h"
#include "tests/soak/World.h"

namespace soak {
namespace {

constexpr ULONGLONG PROGRESS_INTERVAL = 10000;
constexpr ULONGLONG SILENCE_LIMIT = 180000; // of a child that does not even watch its threads
constexpr ULONGLONG END_LIMIT = 240000;     // from the stop to the end of the last child
constexpr ULONGLONG DCB_STOP_LIMIT = 60000; // milliseconds

void Say(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

class Parent {
  public:
    Parent(double minutes, unsigned seed)
        : m_name(L"fcoesoak-" + std::to_wstring(GetCurrentProcessId())), m_shared(m_name), m_random(seed),
          m_minutes(minutes), m_seed(seed) {}

    bool Run() {
        SetUpDcb();
        for (auto& child : m_shared->children)
            child.expectedGeneration = -1;
        Publish(FirstGeneration());
        const ULONGLONG start = GetTickCount64();
        for (unsigned child = 0; child < CHILDREN; ++child)
            m_children[child] = StartChild(child);
        AwaitChildren(0);
        std::thread dcb([this] { RestartDcb(); });

        const auto duration = static_cast<ULONGLONG>(m_minutes * 60000);
        ULONGLONG progress = start;
        while (GetTickCount64() - start < duration && AreChildrenWell() && m_failures.empty()) {
            Sleep(80 + m_random() % 400);
            Publish(Change(m_generation, m_random));
            if (GetTickCount64() - progress >= PROGRESS_INTERVAL) {
                progress = GetTickCount64();
                Say(ProgressLine(*m_shared, (progress - start) / 1000, m_dcbRestarts));
            }
        }
        m_shared->stop = 1;
        dcb.join();
        EndChildren();
        if (!m_dcbFailure.empty())
            m_failures.push_back(m_dcbFailure);
        return Report(*m_shared, {m_seed, (GetTickCount64() - start) / 1000, m_generation.number + 1, m_dcbRestarts},
                      m_failures);
    }

  private:
    void SetUpDcb() {
        std::vector<nlohmann::json> states;
        for (unsigned a = 0; a < ADAPTERS; ++a)
            states.push_back(nlohmann::json::parse(DcbText(a)));
        m_dcb.Simulate(states);
        m_dcb.Start();
    }

    Generation FirstGeneration() {
        Generation generation;
        generation.present = ADAPTERS;
        for (auto& adapter : generation.adapters)
            adapter.version = 1 + m_random() % 1000;
        return generation;
    }

    // The children are in one world: whichever takes the step to the generation shows it in both. So each knows of it
    // before.
    void Publish(const Generation& generation) {
        {
            const std::lock_guard lock(m_shared->lock);
            m_shared->generation = generation;
        }
        m_shared->announcedNumber = generation.number;
        if (generation.number == 0)
            MakeWorld(generation);
        else if (!AwaitChildren(generation.number) || !Play(generation))
            return;
        m_generation = generation;
        m_shared->generationNumber = generation.number;
    }

    void MakeWorld(const Generation& generation) {
        const auto file = TopologyFile(m_folder.Path());
        sim::ReplaceWholeFile(file, TopologyText(generation));
        m_world = sim::World::Join({sim::Origin::Variable, file, sim::ConfiguredChoice().instance});
    }

    // The world's next step, by calls or by time: a call of either child takes it, or of the DCB service, or the look
    // of this process. False: it was not taken.
    bool Play(const Generation& generation) {
        using nlohmann::json;
        json step{
            {"patch", json::diff(json::parse(TopologyText(m_generation)), json::parse(TopologyText(generation)))}};
        if (m_random() % 2)
            step["after_calls"] = 1 + m_random() % 100;
        else
            step["after_seconds"] = (1 + m_random() % 50) / 1000.0;
        const std::string steps = json::array({step}).dump();
        auto [content, version, run, since] = m_world->Newest();
        const std::string name = fmt::format("generation {}", generation.number);
        content.motion = sim::MotionOf(content.text, content.motion, steps, name);
        const auto problems = sim::ReadScript(steps, content.motion.document, {}, {}).problems;
        if (!problems.empty() || !m_world->GoOn(version, content)) {
            m_failures.push_back(problems.empty() ? name + ": the world has moved by itself"
                                                  : problems.front().OneLine(name));
            return false;
        }
        while (AreChildrenWell()) {
            m_world->MoveOn();
            if (m_world->Newest().content.motion.left == 0)
                return true;
            Sleep(1);
        }
        return false;
    }

    // Until they expect the generation; false: one does not any more.
    bool AwaitChildren(long long generation) {
        for (auto& child : m_shared->children) {
            while (child.expectedGeneration < generation) {
                if (!AreChildrenWell())
                    return false;
                Sleep(1);
            }
        }
        return true;
    }

    HANDLE StartChild(unsigned child) {
        const std::wstring command = L'"' + ProgramFile().wstring() + L"\" --child " + std::to_wstring(child) +
                                     L" --memory " + m_name + L" --folder \"" + m_folder.Path().wstring() +
                                     L"\" --seed " + std::to_wstring(m_seed);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        m_shared->children[child].heartbeat = static_cast<long long>(GetTickCount64());
        if (!StartProcess(command, true, startup, process)) {
            m_failures.push_back(fmt::format("child {} was not started: error {}", child, GetLastError()));
            return nullptr;
        }
        CloseHandle(process.hThread);
        return process.hProcess;
    }

    bool AreChildrenWell() {
        for (unsigned child = 0; child < CHILDREN; ++child) {
            if (!m_children[child] || WaitForSingleObject(m_children[child], 0) == WAIT_OBJECT_0)
                return false;
            if (static_cast<long long>(GetTickCount64()) - m_shared->children[child].heartbeat >
                static_cast<long long>(SILENCE_LIMIT))
                return false;
        }
        return true;
    }

    // Takes the service one step further; a step that changes it begins when all children know.
    void TakeDcbStep() {
        const long step = ++m_shared->dcbStep;
        if (DcbOf(step) == Dcb::Running || DcbOf(step) == Dcb::Stopped)
            return;
        for (auto& child : m_shared->children)
            while (child.dcbStep < step && !m_shared->stop)
                Sleep(5);
    }

    void RestartDcb() {
        std::mt19937 random(m_seed + 1);
        const auto Rest = [&](unsigned most) {
            for (unsigned i = (most / 2 + random() % (most / 2)) / 50; i > 0 && !m_shared->stop; --i)
                Sleep(50);
        };
        while (Rest(8000), !m_shared->stop) {
            TakeDcbStep();
            // Until it has: the service may take longer than this waits.
            const ULONGLONG start = GetTickCount64();
            while (!CHelper().QelStopService(CHelper::SERVICE_DCB)) {
                if (GetTickCount64() - start > DCB_STOP_LIMIT) {
                    m_dcbFailure = "the DCB service does not stop";
                    return;
                }
                Sleep(50);
            }
            TakeDcbStep();
            Rest(3000);
            TakeDcbStep();
            m_dcb.Start();
            TakeDcbStep();
            ++m_dcbRestarts;
        }
    }

    void EndChildren() {
        const ULONGLONG start = GetTickCount64();
        for (unsigned child = 0; child < CHILDREN; ++child) {
            if (!m_children[child])
                continue;
            const ULONGLONG gone = GetTickCount64() - start;
            const DWORD limit = static_cast<DWORD>(gone < END_LIMIT ? END_LIMIT - gone : 0);
            if (WaitForSingleObject(m_children[child], limit) != WAIT_OBJECT_0) {
                TerminateProcess(m_children[child], EXIT_HUNG);
                m_failures.push_back(fmt::format("child {} did not end", child));
            } else if (!m_shared->children[child].finished) {
                DWORD code = 0;
                GetExitCodeProcess(m_children[child], &code);
                m_failures.push_back(fmt::format("child {} ended early with exit code {}", child, code));
            }
            CloseHandle(m_children[child]);
        }
    }

    const std::wstring m_name;
    SharedMemory m_shared;
    std::mt19937 m_random;
    const double m_minutes;
    const unsigned m_seed;
    TempFolder m_folder;
    DcbSystem m_dcb;
    Generation m_generation;
    std::shared_ptr<sim::World> m_world;
    HANDLE m_children[CHILDREN] = {};
    std::atomic<long long> m_dcbRestarts{0};
    std::string m_dcbFailure; // written before its thread ends
    std::vector<std::string> m_failures;
};

} // namespace

bool RunParent(double minutes, unsigned seed) {
    InstallCrashReport();
    Say(fmt::format("soak: {} minutes, --seed {}", minutes, seed));
    return std::make_unique<Parent>(minutes, seed)->Run();
}

} // namespace soak
