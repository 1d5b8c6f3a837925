// The crew's changes of virtual ports.
#include <mutex>

#include <fmt/format.h>

#include "tests/soak/Crew.h"
#include "tools/fcoectl/Text.h"

namespace soak {
namespace {

constexpr ULONG NAME_NOT_GENERATED = 0x370000CA;
constexpr ULONG NAME_INVALID = 0x370000CB;
constexpr ULONG NAME_IN_USE = 0x370000CD;
constexpr ULONG NOT_CREATED = 0x370000CE;
constexpr ULONG NOT_DELETED = 0x370000CF;
constexpr ULONG PORT_IS_PHYSICAL = 0x370000D6;

constexpr unsigned NO_SLOT = PORT_SLOTS, GENERATED_SLOT = PORT_SLOTS - 1;

CQelString Wide(const std::string& text) {
    return CQelString(std::wstring(text.begin(), text.end()).c_str());
}

// What a refusal tells: its code, and the name where it is about the name. code 0: there is none.
std::string JudgeErrors(const std::vector<QEL_ERROR_ENTRY>& errors, ULONG code, const std::string& name) {
    if (code == 0)
        return errors.empty() ? "" : fmt::format("code {:#x} with a success", errors.front().ulCode);
    if (errors.size() != 1)
        return fmt::format("{} errors instead of code {:#x}", errors.size(), code);
    const QEL_ERROR_ENTRY& error = errors.front();
    const bool aboutName = code == NAME_INVALID || code == NOT_CREATED || code == NOT_DELETED;
    const std::size_t arguments = aboutName ? 1 : 0;
    if (error.ulCode != code || error.ulClass != 16 || error.ulSeverity != 1 ||
        error.vecArguments.size() != arguments || (aboutName && fcoectl::ToUtf8(error.vecArguments.front()) != name))
        return fmt::format("code {:#x} ({} arguments) instead of {:#x}", error.ulCode, error.vecArguments.size(), code);
    return {};
}

} // namespace

void Crew::ChangePort(Thread& self, Place& place, Op op, unsigned slot, std::string& name, ULONG code,
                      ULONG codeOfGone) {
    const bool creates = op == Op::CreateVPort, generates = slot == GENERATED_SLOT && creates;
    const bool before = slot != NO_SLOT && m_slots[place.adapter][slot].present;
    CQelString adapter = place.Name(), port = Wide(generates ? "auto" : name);
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = GetCurrentThreadId();
    BOOL result = FALSE;
    MakeAt(
        self, place, op,
        [&] {
            if (slot != NO_SLOT)
                m_history.PortChangeBegins(place.adapter, slot, name, creates);
            result = creates ? m_agent->CreateVPort(adapter, port, errors, owner)
                             : m_agent->DeleteVPort(adapter, port, errors, {owner, 0, 0});
            if (generates && result)
                name = fcoectl::ToUtf8(port);
            if (slot == NO_SLOT)
                return;
            const bool present = result ? creates : before;
            m_slots[place.adapter][slot].present = present;
            m_history.PortChangeEnds(place.adapter, slot, name, present);
        },
        [&](const History::Call& call) -> Verdict {
            if (place.adapter == ADAPTERS)
                return {true, result || !errors.empty() ? "done for no adapter" : ""};
            if (result && (!errors.empty() || !IsPortName(fcoectl::ToUtf8(port))))
                return {true,
                        fmt::format("created or deleted '{}' with {} errors", fcoectl::ToUtf8(port), errors.size())};
            return JudgeResult(place, call, [&](const Situation& situation) -> std::string {
                const ULONG expected = situation.states.front().listed ? code : codeOfGone;
                if (result != (expected == 0))
                    return fmt::format("{}: returned {}, first code {:#x}", name, result,
                                       errors.empty() ? 0 : errors.front().ulCode);
                return JudgeErrors(errors, expected, generates ? fcoectl::ToUtf8(port) : name);
            });
        });
}

// One change that must be done, or one that must be refused.
void Crew::ChangePorts(Thread& self, Place& place) {
    std::string physical = PhysicalPortName(place.First()), wrong = "20:00:02:05:7C:00:00:0G";
    std::string nobodys = VirtualPortName(place.First(), m_child, 0x20);
    if (place.adapter == ADAPTERS) {
        ChangePort(self, place, Op::CreateVPort, NO_SLOT, nobodys, 0, 0);
        ChangePort(self, place, Op::DeleteVPort, NO_SLOT, nobodys, 0, 0);
        return;
    }
    switch (self.random() % 10) {
    case 0:
        ChangePort(self, place, Op::CreateVPort, NO_SLOT, wrong, NAME_INVALID, NAME_INVALID);
        return;
    case 1:
        ChangePort(self, place, Op::DeleteVPort, NO_SLOT, wrong, NAME_INVALID, NAME_INVALID);
        return;
    case 2:
        ChangePort(self, place, Op::CreateVPort, NO_SLOT, physical, NAME_IN_USE, NOT_CREATED);
        return;
    case 3:
        ChangePort(self, place, Op::DeleteVPort, NO_SLOT, physical, PORT_IS_PHYSICAL, NOT_DELETED);
        return;
    case 4:
        ChangePort(self, place, Op::DeleteVPort, NO_SLOT, nobodys, NOT_DELETED, NOT_DELETED);
        return;
    default:
        break;
    }
    const unsigned slot = self.random() % PORT_SLOTS;
    Slot& own = m_slots[place.adapter][slot];
    if (!own.lock.try_lock())
        return;
    const std::lock_guard lock(own.lock, std::adopt_lock);
    if (slot == GENERATED_SLOT) {
        // Deleted at once, unless the adapter is gone by then; the next one is created when it is back and this is
        // done.
        if (!own.present)
            ChangePort(self, place, Op::CreateVPort, slot, own.name = {}, 0, NAME_NOT_GENERATED);
        if (own.present)
            ChangePort(self, place, Op::DeleteVPort, slot, own.name, 0, NOT_DELETED);
        return;
    }
    own.name = VirtualPortName(place.adapter, m_child, slot);
    if (!own.present)
        ChangePort(self, place, Op::CreateVPort, slot, own.name, 0, NOT_CREATED);
    else if (self.random() % 4 == 0)
        ChangePort(self, place, Op::CreateVPort, slot, own.name, NAME_IN_USE, NOT_CREATED);
    else
        ChangePort(self, place, Op::DeleteVPort, slot, own.name, 0, NOT_DELETED);
}

} // namespace soak
