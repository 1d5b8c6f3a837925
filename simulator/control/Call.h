// One call of a simulated function, opened at its start: counts it, has the world move on when that is due, finds the
// fault that the call has to show and writes its line of the call log.
//
//     Call call("ORVAN_GetVlanIdList", adapter);
//     call.Note("handle", handle);
//     if (const auto status = call.Status())
//         return call.Done(*status);
//     ...
//     return call.Done(HBA_STATUS_OK);
#pragma once

#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "simulator/control/CallLog.h"
#include "simulator/control/Simulation.h"

namespace sim {

// What a fault throws; it tells what else the fault says of the call.
class ThrownFault : public std::runtime_error {
  public:
    ThrownFault(const Fault& thrown, const std::string& text) : std::runtime_error(text), fault(thrown) {}
    Fault fault;
};

class Call {
  public:
    // All of these wait when a fault says so, and throw ThrownFault when one does.

    explicit Call(Function function) : Call(function, nullptr) {}
    // find: const Adapter*(const Scene&), which adapter the call is about; null: none.
    template <class Find>
    requires std::is_invocable_r_v<const Adapter*, Find, const Scene&> Call(Function function, Find find) {
        Enter(function, find);
    }
    // About an adapter that the caller knows from a scene, this one or an earlier.
    Call(Function function, const Adapter* adapter) {
        Enter(function, [adapter](const sim::Scene&) { return adapter; });
    }
    // Logged in a file that may be another than the module's; the caller keeps it.
    template <class Find>
    Call(Function function, const CallFile& file, Find find) : m_file(file.IsOpen() ? &file : nullptr) {
        Enter(function, find);
    }
    // In a scene that is not the module's own, too, which the caller keeps.
    template <class Find>
    Call(Function function, const sim::Scene& scene, const CallFile& file, Find find)
        : m_scene(scene), m_file(file.IsOpen() ? &file : nullptr) {
        Enter(function, find);
    }
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // What the whole of the call is about, however the topology changes meanwhile.
    const sim::Scene& Scene() const { return m_scene.Get(); }
    const sim::Adapter* About() const { return m_about; }

    // The fault of this call; null: none.
    const Fault* ActiveFault() const { return m_fault; }
    // The recorded answer to this request of the adapter, which counts it; null: the topology's own. Throws
    // std::runtime_error where it was recorded so. A fault that shows goes before it.
    const Reply* Recorded(const Arguments& request) {
        return Scene().answers && m_about ? FindReply(request) : nullptr;
    }

    // What the fault makes the call return instead of working.
    std::optional<std::uint32_t> Status() const { return m_fault ? m_fault->status : std::nullopt; }
    // What the fault makes the call write back as count, otherwise the true one.
    std::uint32_t Count(std::uint32_t count) const { return m_fault && m_fault->count ? *m_fault->count : count; }
    // Fills an output with A5h bytes when the fault says so.
    bool Garbage(void* output, std::size_t size) const {
        if (!m_fault || !m_fault->garbage || !output)
            return false;
        std::memset(output, 0xA5, size);
        return true;
    }
    // What the fault makes follow a text in its array.
    char TextPadding() const { return m_fault && m_fault->unterminated ? '#' : '\0'; }

    // Adds "name=value" to the log line; value: a number, or a function that makes a text when the line is wanted.
    template <class Value> void Note(const char* name, Value value) {
        if (!m_logged)
            return;
        if constexpr (std::is_invocable_v<Value>)
            Append(name, value());
        else
            Append(name, std::to_string(value));
    }
    // Adds the result to the log line.
    template <class T> T Done(T result) {
        if (m_logged)
            AppendResult(result);
        return result;
    }

  private:
    // With the scene that the call counts in.
    template <class Find> void Enter(Function function, Find find) {
        do
            m_about = find(m_scene.Get());
        while (m_scene.Get().next && !IsOfScene(function));
        Begin(function);
    }
    // False: the world has moved on before this call, which has its new scene now.
    bool IsOfScene(Function function);
    void TakeSteps();
    void Begin(Function function);
    const Reply* FindReply(const Arguments& request);
    void Write(const std::string& line) { CallLog::Instance().Write(line, Scene().version, m_file); }
    void Append(const char* name, const std::string& value);
    void AppendResult(std::uint64_t result);

    SceneInUse m_scene;
    const sim::Adapter* m_about = nullptr;
    const CallFile* m_file = nullptr; // in place of the module's
    const Fault* m_fault = nullptr;
    std::size_t m_function = 0;
    bool m_logged = false;
    std::string m_line;
};

} // namespace sim
