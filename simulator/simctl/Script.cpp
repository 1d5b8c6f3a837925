// simctl script
#include <system_error>

#include <windows.h>

#include "simulator/control/World.h"
#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/Interruption.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/HexFile.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

std::string Steps(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " step" : " steps");
}

std::string TimeNow() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    char text[32];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u ", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

class Player {
  public:
    Player(Console& console, const std::string& file) : m_console(console), m_file(file) {}

    int Play() {
        std::string text;
        try {
            text = sim::ReadFile(sim::Wide(m_file));
        } catch (const std::system_error& error) {
            Refuse(m_file + ": cannot be read: " + SystemText(error.code().value()));
            return WRONG;
        }
        const sim::Choice choice = sim::ConfiguredChoice();
        const bool isOthers = sim::World::Find(sim::WorldName(choice)) != nullptr;
        m_world = sim::World::Join(choice);
        m_world->LookAtFile(sim::World::Look::IfChanged);
        while (!PutIn(text)) {
            if (m_refused)
                return WRONG;
        }
        m_console.Out("playing " + Steps(m_count) + " in " + m_topology + "\n");
        if (m_dropped != 0)
            m_console.Err("note: " + Steps(m_dropped) + " that the world waited for will not be taken\n");
        if (!isOthers)
            m_console.Err("note: no process has this world yet; what is played is lost when simctl ends, if none has "
                          "it then\n");
        return Follow();
    }

  private:
    // False.
    bool Refuse(const std::string& why) {
        m_refused = true;
        m_console.Err(why + "\nnot played\n");
        return false;
    }

    // False: it is refused, or the world has changed meanwhile.
    bool PutIn(const std::string& text) {
        sim::World::Moment moment = m_world->Newest();
        sim::WorldContent& content = moment.content;
        m_topology = content.name;
        if (!content.error.empty())
            return Refuse(content.error);
        const auto read = [&](const std::filesystem::path& file) {
            const auto [known, added] = content.responses.try_emplace(sim::Utf8(file.wstring()));
            if (added)
                known->second = sim::ReadHexFile(file);
            return known->second;
        };
        sim::Motion motion = sim::MotionOf(content.text, content.motion, "[]", m_file);
        const sim::Script script = sim::ReadScript(text, motion.document, sim::Wide(content.folder), read);
        if (script.count == 0 || !script.problems.empty()) {
            CheckedFile checked{m_file, text, {}};
            checked.checked.reading.problems = script.problems;
            m_console.Err(checked.ErrorLines());
            return Refuse(m_file + (script.problems.empty() ? ": there is no step in it"
                                                            : ": wrong for " + m_topology + " as it is now"));
        }
        m_count = script.count;
        m_dropped = content.motion.left;
        m_run = moment.run;
        content.motion = sim::MotionOf(content.text, content.motion, script.steps, m_file);
        try {
            return m_world->GoOn(moment.version, content, script.largest);
        } catch (const sim::TopologyError& error) {
            return Refuse(m_file + ": " + error.what());
        }
    }

    int Follow() {
        constexpr unsigned PAUSE = 50; // milliseconds
        const Interruption interruption;
        for (;;) {
            const bool interrupted = interruption.Await(PAUSE);
            m_world->MoveOn();
            auto [content, version, run, since] = m_world->Newest();
            const sim::Motion& motion = content.motion;
            if (run != m_run || motion.script != m_file || motion.taken < m_told) {
                m_console.Err(m_topology + " was changed from elsewhere after " + std::to_string(m_told) + " of " +
                              Steps(m_count) + "; the others are not taken\n");
                return WRONG;
            }
            for (; m_told < motion.taken; ++m_told)
                m_console.Out(TimeNow() + "step " + std::to_string(m_told + 1) + " of " + std::to_string(m_count) +
                              " taken\n");
            if (motion.left == 0) {
                m_console.Out("played; the world stays as it is now until the topology is changed, loaded anew or "
                              "reset\n");
                return GOOD;
            }
            if (interrupted && Stop(content, version))
                return WRONG;
        }
    }

    // False: the world has moved on.
    bool Stop(sim::WorldContent& content, std::uint64_t version) {
        content.motion.steps = "[]";
        content.motion.left = 0;
        if (!m_world->GoOn(version, content))
            return false;
        m_console.Err("stopped after " + std::to_string(m_told) + " of " + Steps(m_count) +
                      "; the world stays as it is now\n");
        return true;
    }

    Console& m_console;
    const std::string m_file;
    std::string m_topology;
    std::shared_ptr<sim::World> m_world;
    std::uint64_t m_run = 0;
    std::size_t m_count = 0;
    std::size_t m_dropped = 0;
    std::uint32_t m_told = 0;
    bool m_refused = false;
};

} // namespace

int PlayScript(Console& console, const std::string& file) {
    return Player(console, file).Play();
}

} // namespace simctl
