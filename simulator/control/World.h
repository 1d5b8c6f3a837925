// A world: one topology that all modules of all processes which chose it see in the same version. It lies in a section
// that goes by what was chosen, so whoever names the same file has the same world.
//
// The moment of a change is one store of a new version. What a version consists of never changes. A topology with a
// timeline has a version for each of its steps; all of them are one run.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "simulator/control/Section.h"
#include "simulator/control/WorldContent.h"

namespace sim {

// What chose a world.
enum class Origin : std::uint32_t { BuiltIn, Registry, Variable, Control };

struct Choice {
    Origin origin = Origin::BuiltIn;
    std::wstring source;   // the file as it was named; empty: the built-in topology, or a text
    std::wstring instance; // which of several suites on the machine

    bool operator==(const Choice&) const = default;
};

// What the variable ORVAN_SIM_TOPOLOGY, or else the registry, chooses now; with withVariable false, the registry alone.
Choice ConfiguredChoice(bool withVariable = true);
// The name of the world that is chosen so. process: whose text it is, for a choice by control.
std::wstring WorldName(const Choice& choice, DWORD process = GetCurrentProcessId());
// One text for one file, whatever way it was named.
std::wstring FileKey(const std::filesystem::path& file);

class World {
  public:
    // Joins the world or makes it; one of a file is read when it is new. These throw std::system_error when there are
    // no resources for it.
    static std::shared_ptr<World> Join(const Choice& choice);
    // Joins one that somebody has; null: nobody has.
    static std::shared_ptr<World> Find(const std::wstring& name);

    const std::wstring& Name() const { return m_name; }
    // 0: nothing was put into it. The versions of all worlds count on in one row, with gaps, as long as anyone has a
    // world.
    const std::atomic<std::uint64_t>& Version() const { return m_head->version; }
    // The newest content, and when it came.
    struct Moment {
        WorldContent content;
        std::uint64_t version = 0;
        std::uint64_t run = 0;   // the version in which the topology was put into the world
        std::uint64_t since = 0; // the tick from which the next step's seconds count
    };
    Moment Newest() const;

    // Looks whether the file has changed since it was looked at last, and puts a new version when it has. A wrong one
    // does not replace a good one: it becomes the problem. Returns that when it is new. Nothing happens for other
    // worlds.
    // IfReadable: only if this account may read it, who is not the one that chose it. Always: starts a topology that
    // moves anew, the built-in one, too.
    enum class Look { IfChanged, IfReadable, Always };
    std::string LookAtFile(Look look);
    // Why the last good topology stays in use; empty: it is what the file says.
    std::string Problem() const;
    // A new version and run, whatever was there. Changes that were kept for the one before are forgotten.
    void Put(const WorldContent& content);

    // A call that a step of that version waits for, which is taken after so many.
    enum class Counted { Yes, Last, TooLate }; // TooLate: they have been made already
    Counted CountCall(std::uint64_t version, std::uint32_t calls);
    // Takes the step that is due in that version, and those whose time has come, too. Returns how many have been taken
    // since the start; 0: it has another version already, or nothing is due.
    std::uint32_t TakeSteps(std::uint64_t version);
    // The same for who makes no calls: takes the steps whose time has come.
    void MoveOn();
    // Which run the newest version is of.
    std::uint64_t Run() const;
    // The calls that count for the next step so far.
    std::uint32_t CountedCalls(std::uint64_t version) const;
    // A new version of the same run. False: it has another version than that already. largest: bytes of the largest
    // topology that a step makes. Throws TopologyError when that is too large.
    bool GoOn(std::uint64_t version, const WorldContent& content, std::size_t largest = 0);

    // Virtual-port changes to a topology that was given as text, of that run: when they change the number does. An
    // empty text for another run.
    const std::atomic<std::uint64_t>& StateNumber() const { return m_head->stateNumber; }
    std::string State(std::uint64_t run) const;
    // change: std::string(const std::string&), runs on the newest state of that run; nobody else changes it meanwhile.
    template <class Change> void ChangeState(std::uint64_t run, Change change) {
        const Section::Lock lock(m_section);
        const std::string state = change(State(run));
        if (run == Place().run)
            PutState(state);
    }

  private:
    // Of a content.
    struct PlaceHead {
        std::uint64_t size;
        std::uint64_t run, since;
        std::atomic<std::uint64_t> counted; // calls, with the low half of the version before them
    };
    struct Head {
        std::atomic<std::uint64_t> version;
        std::atomic<std::uint64_t> stateNumber;
        // The file as it was looked at last.
        std::atomic<std::uint64_t> fileTime;
        std::atomic<std::uint64_t> fileSize;
        std::atomic<std::uint32_t> fileIsFresh; // it was written just then: another change may bear the same time
        // For who holds the lock.
        std::uint32_t hasFile;
        PlaceHead places[2]; // a version's place is its lowest bit
        std::uint64_t stateSize;
        wchar_t file[4096]; // whole
        wchar_t name[4096]; // as it was named first
        char problem[4096];
    };

    World(std::wstring name, Section section);
    PlaceHead& Place() const { return m_head->places[m_head->version & 1]; }
    // These need the lock.
    void Store(const WorldContent& content, std::uint64_t run, std::uint64_t since); // run: 0: a new one
    void PutState(const std::string& state);

    std::wstring m_name;
    Section m_section;
    Section m_versions; // counts the versions of all worlds
    Head* m_head;
};

} // namespace sim
