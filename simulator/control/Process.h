// What the modules of one process have in common: which world they are in, whether its faults are armed, and where
// their calls are logged. It lies in a section that goes by the process's id, where the DCB service and tools find it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <windows.h>

#include "simulator/control/World.h"

namespace sim {

// What others can know of a process.
struct ProcessStatus {
    Choice choice;
    std::wstring world;            // the name of its world
    std::wstring calls;            // the file for its calls; empty: they are not wanted
    std::uint64_t disarmedRun = 0; // whose faults shall not show in it
    std::uint64_t armings = 0;     // how often that was said
};

class Process {
  public:
    // Joins the calling module's process. follow: takes up what the process has now; other modules call it on their
    // threads, whenever the process's world or its faults were changed. Throws std::system_error.
    explicit Process(void (*follow)());
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Of any process; none: no module of the suite is in it.
    static std::optional<ProcessStatus> StatusOf(DWORD process);

    // Another number: the process is in another world, or has been told to begin anew in the same.
    const std::atomic<std::uint64_t>& Serial() const { return m_head->serial; }

    struct View {
        std::uint64_t serial = 0;
        Choice choice;
        std::shared_ptr<World> world;
        std::uint64_t disarmedRun = 0; // of its world, whose faults shall not show
        std::uint64_t armings = 0;     // how often that was said
    };
    // known: the world that the caller has already; it is used again when it still is the process's.
    View Now(const std::shared_ptr<World>& known) const;

    // Each of these has all modules of the process follow before it returns, one process-wide change at a time.

    // Takes up what is configured now and a file that has changed, unless a text was given. Returns what was wrong with
    // the file, if that is new and does not show as the world's own error.
    std::string Look();
    // Takes up what is configured now, whatever was there, and begins anew in it. Returns as Look.
    std::string Reload();
    void Simulate(const WorldContent& text);
    void ArmFaults(bool armed);
    // The world has another version.
    void Follow() const;

  private:
    static constexpr std::size_t MAX_MODULES = 32;
    struct Head {
        std::uint64_t started; // when the process was; another one may have had its id before
        std::atomic<std::uint64_t> serial;
        // For who holds the lock.
        Origin origin;
        std::uint32_t disarmed;
        std::uint64_t armings;
        std::uint64_t disarmedSerial, disarmedRun; // of whom that is said
        wchar_t source[4096];
        wchar_t instance[256];
        wchar_t world[256];
        wchar_t calls[4096];
        void (*follow[MAX_MODULES])();
    };

    // These need the lock.
    Choice ChoiceNow() const;
    World& Mine();
    std::string Choose(const Choice& choice, bool anew, World::Look look);
    void FollowAll() const;

    Section m_section;
    Head* m_head;
    void (*m_follow)();
    std::shared_ptr<World> m_world; // the process's when it was last needed
};

} // namespace sim
