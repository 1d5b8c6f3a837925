#include "simulator/control/Process.h"

#include <algorithm>

#include "simulator/control/CallFile.h"
#include "simulator/control/CopyCut.h"

namespace sim {
namespace {

std::wstring SectionName(DWORD process) {
    return L"OrvanSimProcess-" + std::to_wstring(process);
}

// When a process was made; 0: it cannot be asked.
std::uint64_t StartTime(HANDLE process) {
    FILETIME made{}, ended, kernel, user;
    if (!GetProcessTimes(process, &made, &ended, &kernel, &user))
        return 0;
    return std::uint64_t{made.dwHighDateTime} << 32 | made.dwLowDateTime;
}

} // namespace

Process::Process(void (*follow)())
    : m_section(Section::Make(SectionName(GetCurrentProcessId()), Section::HEAD_SIZE)), m_head(m_section.Head<Head>()),
      m_follow(follow) {
    const Section::Lock lock(m_section);
    const std::uint64_t started = StartTime(GetCurrentProcess());
    if (m_head->started != started) {
        const std::uint64_t serial = m_head->serial;
        std::fill_n(m_head->follow, MAX_MODULES, nullptr);
        m_head->source[0] = m_head->instance[0] = m_head->world[0] = 0;
        m_head->origin = Origin::BuiltIn;
        m_head->disarmed = 0;
        m_head->serial = serial + 1;
        m_head->started = started;
    }
    CopyCut(m_head->calls, ConfiguredCallFile());
    const auto place = std::find(m_head->follow, m_head->follow + MAX_MODULES, nullptr);
    if (place != m_head->follow + MAX_MODULES)
        *place = follow;
}

Process::~Process() {
    // After this none calls the module any more: they hold the lock while they do.
    const Section::Lock lock(m_section);
    std::replace(m_head->follow, m_head->follow + MAX_MODULES, m_follow, static_cast<void (*)()>(nullptr));
}

std::optional<ProcessStatus> Process::StatusOf(DWORD process) {
    const KernelHandle handle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
    const std::uint64_t started = handle ? StartTime(handle.Get()) : 0;
    const Section section = Section::Open(SectionName(process));
    if (!section)
        return std::nullopt;
    const Section::Lock lock(section);
    const Head& head = *section.Head<Head>();
    if (head.world[0] == 0 || (started != 0 && head.started != started))
        return std::nullopt;
    return ProcessStatus{{head.origin, head.source, head.instance},
                         head.world,
                         head.calls,
                         head.disarmed && head.disarmedSerial == head.serial ? head.disarmedRun : 0,
                         head.armings};
}

Choice Process::ChoiceNow() const {
    return {m_head->origin, m_head->source, m_head->instance};
}

Process::View Process::Now(const std::shared_ptr<World>& known) const {
    const Section::Lock lock(m_section);
    View view;
    view.serial = m_head->serial;
    view.armings = m_head->armings;
    view.choice = ChoiceNow();
    view.world = known && known->Name() == m_head->world ? known : World::Join(view.choice);
    if (m_head->disarmed && m_head->disarmedSerial == view.serial)
        view.disarmedRun = m_head->disarmedRun;
    return view;
}

World& Process::Mine() {
    if (!m_world || m_world->Name() != m_head->world)
        m_world = World::Join(ChoiceNow());
    return *m_world;
}

std::string Process::Look() {
    const Section::Lock lock(m_section);
    // A text stays while any module has it, also for those that are loaded later.
    if (m_head->origin == Origin::Control && Mine().Version() != 0)
        return {};
    return Choose(ConfiguredChoice(), false, World::Look::IfChanged);
}

std::string Process::Reload() {
    const Section::Lock lock(m_section);
    return Choose(ConfiguredChoice(), true, World::Look::Always);
}

std::string Process::Choose(const Choice& choice, bool anew, World::Look look) {
    const bool same = m_head->world[0] != 0 && ChoiceNow() == choice;
    if (!m_world || m_world->Name() != WorldName(choice))
        m_world = World::Join(choice);
    const std::uint64_t version = m_world->Version();
    const std::string problem = m_world->LookAtFile(look);
    if (!same) {
        m_head->origin = choice.origin;
        CopyCut(m_head->source, choice.source);
        CopyCut(m_head->instance, choice.instance);
        CopyCut(m_head->world, m_world->Name());
    }
    if (!same || anew)
        ++m_head->serial;
    if (!same || anew || m_world->Version() != version)
        FollowAll();
    return problem;
}

void Process::Simulate(const WorldContent& text) {
    const Section::Lock lock(m_section);
    const Choice choice{Origin::Control, {}, m_head->instance};
    const std::wstring name = WorldName(choice);
    if (!m_world || m_world->Name() != name)
        m_world = World::Join(choice);
    m_world->Put(text);
    if (m_head->world != name) {
        m_head->origin = choice.origin;
        m_head->source[0] = 0;
        CopyCut(m_head->world, name);
        ++m_head->serial;
    }
    FollowAll();
}

void Process::ArmFaults(bool armed) {
    const Section::Lock lock(m_section);
    m_head->disarmed = !armed;
    ++m_head->armings;
    m_head->disarmedSerial = m_head->serial;
    m_head->disarmedRun = Mine().Run();
    FollowAll();
}

void Process::Follow() const {
    const Section::Lock lock(m_section);
    FollowAll();
}

void Process::FollowAll() const {
    for (const auto follow : m_head->follow) {
        if (follow)
            follow();
    }
}

} // namespace sim
