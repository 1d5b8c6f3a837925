#include "simulator/control/World.h"

#include <algorithm>
#include <cwchar>

#include <windows.h>

#include "simulator/control/CopyCut.h"
#include "simulator/topology/Text.h"

namespace sim {
namespace {

constexpr std::size_t STATE_BYTES = std::size_t{4} << 20;
constexpr std::size_t CONTENT_OFFSET[] = {Section::HEAD_SIZE, Section::HEAD_SIZE + MAX_WORLD_BYTES};
constexpr std::size_t STATE_OFFSET = Section::HEAD_SIZE + 2 * MAX_WORLD_BYTES;
constexpr std::size_t WORLD_BYTES = STATE_OFFSET + STATE_BYTES;

constexpr wchar_t WORLD[] = L"OrvanSimWorld";
constexpr wchar_t VERSIONS[] = L"OrvanSimVersions";

// The system's clock goes in steps; a file that was written within one has the same time afterwards.
constexpr std::uint64_t CLOCK_STEPS = 1000000; // 100 ms, in units of 100 ns

struct FileMark {
    std::uint64_t time = 0;
    std::uint64_t size = 0;
    bool isFresh = false;
};

FileMark MarkOf(const std::filesystem::path& file) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data))
        return {};
    const auto Joined = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    FileMark mark;
    mark.time = Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
    mark.size = Joined(data.nFileSizeHigh, data.nFileSizeLow);
    mark.isFresh = mark.time + CLOCK_STEPS > Joined(now.dwHighDateTime, now.dwLowDateTime);
    return mark;
}

bool IsForbidden(const wchar_t* file) {
    const HANDLE opened = CreateFileW(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_ACCESS_DENIED;
    CloseHandle(opened);
    return false;
}

// The same in every process, unlike a hash of the library's.
std::wstring HashText(const std::wstring& text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t character : text)
        hash = (hash ^ character) * 0x100000001B3;
    wchar_t digits[17];
    std::swprintf(digits, std::size(digits), L"%016llX", static_cast<unsigned long long>(hash));
    return digits;
}

} // namespace

Choice ConfiguredChoice(bool withVariable) {
    Choice choice;
    choice.instance = SimulatorSetting(L"ORVAN_SIM_INSTANCE", L"Instance");
    if (withVariable)
        choice.source = EnvironmentText(L"ORVAN_SIM_TOPOLOGY");
    if (!choice.source.empty()) {
        choice.origin = Origin::Variable;
        return choice;
    }
    choice.source = RegistryText(L"Topology");
    if (!choice.source.empty())
        choice.origin = Origin::Registry;
    return choice;
}

std::wstring FileKey(const std::filesystem::path& file) {
    std::wstring key = std::filesystem::absolute(file).lexically_normal().wstring();
    CharUpperW(key.data());
    return key;
}

std::wstring WorldName(const Choice& choice, DWORD process) {
    const std::wstring what = choice.origin == Origin::Control ? L"process-" + std::to_wstring(process)
                              : choice.source.empty()          ? L"built-in"
                                                               : HashText(FileKey(choice.source));
    return WORLD + choice.instance + L"-" + what;
}

World::World(std::wstring name, Section section)
    : m_name(std::move(name)), m_section(std::move(section)), m_versions(Section::Make(VERSIONS, Section::HEAD_SIZE)),
      m_head(m_section.Head<Head>()) {}

std::shared_ptr<World> World::Join(const Choice& choice) {
    const std::wstring name = WorldName(choice);
    const std::shared_ptr<World> world(new World(name, Section::Make(name, WORLD_BYTES)));
    if (choice.origin == Origin::Control)
        return world;
    const Section::Lock lock(world->m_section);
    Head& head = *world->m_head;
    if (head.version != 0)
        return world;
    if (choice.source.empty()) {
        world->Put(ContentOfText(std::string(DefaultTopologyText()), "built-in topology"));
    } else {
        head.hasFile = 1;
        CopyCut(head.file, std::filesystem::absolute(choice.source).wstring());
        CopyCut(head.name, choice.source);
        world->LookAtFile(Look::Always);
    }
    return world;
}

std::shared_ptr<World> World::Find(const std::wstring& name) {
    Section section = Section::Open(name);
    return section ? std::shared_ptr<World>(new World(name, std::move(section))) : nullptr;
}

World::Moment World::Newest() const {
    const Section::Lock lock(m_section);
    const std::uint64_t version = m_head->version;
    if (version == 0)
        return {};
    const auto& place = Place();
    return {Unpacked(m_section.Read(CONTENT_OFFSET[version & 1], place.size)), version, place.run, place.since};
}

std::string World::LookAtFile(Look look) {
    FileMark mark;
    const auto IsAsBefore = [&] {
        mark = MarkOf(m_head->file);
        return look != Look::Always && !m_head->fileIsFresh && mark.time == m_head->fileTime &&
               mark.size == m_head->fileSize;
    };
    if (!m_head->hasFile && look == Look::Always) {
        const Section::Lock lock(m_section);
        const WorldContent before = Newest().content;
        if (before.motion.IsMoving())
            Put(ContentOfText(before.text, before.name));
    }
    if (!m_head->hasFile || IsAsBefore() || (look == Look::IfReadable && IsForbidden(m_head->file)))
        return {};
    const Section::Lock lock(m_section);
    if (IsAsBefore()) // another one has looked
        return {};
    // The mark is older than the text: a change while it is read counts as a change after.
    const WorldContent content = ContentOfFile(m_head->file, Utf8(m_head->name));
    const WorldContent before = Newest().content;
    const bool startsAnew = look == Look::Always && before.motion.IsMoving();
    const bool keep = m_head->version != 0 && before.error.empty() && !content.error.empty();
    const bool isNew = content.error != m_head->problem;
    m_head->fileTime = mark.time;
    m_head->fileSize = mark.size;
    m_head->fileIsFresh = mark.isFresh;
    CopyCut(m_head->problem, keep ? content.error : std::string());
    if (!keep && (m_head->version == 0 || startsAnew || !content.HasSourceOf(before)))
        Put(content);
    return keep && isNew ? Problem() : std::string();
}

std::string World::Problem() const {
    const Section::Lock lock(m_section);
    const std::string problem = m_head->problem;
    return problem.empty() ? problem : problem + "; the last good topology stays in use";
}

void World::Put(const WorldContent& content) {
    const Section::Lock lock(m_section);
    m_head->stateSize = 0;
    ++m_head->stateNumber;
    Store(content, 0, GetTickCount64());
}

void World::Store(const WorldContent& content, std::uint64_t run, std::uint64_t since) {
    // To the other place: who dies on the way leaves the version before whole.
    const std::size_t place = (m_head->version & 1) ^ 1;
    const std::string bytes = Packed(content);
    m_section.Write(CONTENT_OFFSET[place], bytes);
    auto& versions = *m_versions.Head<std::atomic<std::uint64_t>>();
    std::uint64_t version = ++versions;
    while ((version & 1) != place)
        version = ++versions;
    auto& head = m_head->places[place];
    head.size = bytes.size();
    head.run = run ? run : version;
    head.since = since;
    head.counted = version << 32;
    m_head->version = version;
}

World::Counted World::CountCall(std::uint64_t version, std::uint32_t calls) {
    auto& counted = m_head->places[version & 1].counted;
    std::uint64_t before = counted;
    do {
        if (before >> 32 != (version & UINT32_MAX) || static_cast<std::uint32_t>(before) >= calls)
            return Counted::TooLate;
    } while (!counted.compare_exchange_weak(before, before + 1));
    return static_cast<std::uint32_t>(before + 1) == calls ? Counted::Last : Counted::Yes;
}

std::uint64_t World::Run() const {
    const Section::Lock lock(m_section);
    return Place().run;
}

std::uint32_t World::CountedCalls(std::uint64_t version) const {
    const std::uint64_t counted = m_head->places[version & 1].counted;
    return counted >> 32 == (version & UINT32_MAX) ? static_cast<std::uint32_t>(counted) : 0;
}

std::uint32_t World::TakeSteps(std::uint64_t version) {
    const Section::Lock lock(m_section);
    if (m_head->version != version)
        return 0;
    Moment moment = Newest();
    Motion& motion = moment.content.motion;
    std::uint64_t& since = moment.since;
    const std::uint64_t now = GetTickCount64();
    auto step = NextStep(motion);
    const auto IsTimeUp = [&] { return step && step->afterMs && since + *step->afterMs <= now; };
    if (!IsTimeUp() && !(step && !step->afterMs && CountedCalls(version) >= step->afterCalls))
        return 0;
    do {
        // However late it is seen that the time has come, the next one's counts from then.
        since = step->afterMs ? since + *step->afterMs : now;
        TakeStep(motion);
        step = NextStep(motion);
    } while (IsTimeUp());
    Store(moment.content, moment.run, since);
    return motion.taken;
}

void World::MoveOn() {
    TakeSteps(m_head->version);
}

bool World::GoOn(std::uint64_t version, const WorldContent& content, std::size_t largest) {
    if (Packed(content).size() + largest > MAX_WORLD_BYTES)
        throw TopologyError("the topology and the steps are larger than 32 MiB");
    const Section::Lock lock(m_section);
    if (m_head->version != version)
        return false;
    Store(content, Place().run, GetTickCount64());
    return true;
}

std::string World::State(std::uint64_t run) const {
    const Section::Lock lock(m_section);
    return run == Place().run ? m_section.Read(STATE_OFFSET, m_head->stateSize) : std::string();
}

void World::PutState(const std::string& state) {
    if (state.size() > STATE_BYTES)
        throw TopologyError("the virtual-port changes are larger than 4 MiB");
    m_section.Write(STATE_OFFSET, state);
    m_head->stateSize = state.size();
    ++m_head->stateNumber;
}

} // namespace sim
