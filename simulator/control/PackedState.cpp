#include "simulator/control/PackedState.h"

#include <cstring>

namespace sim {
namespace {

void Put(std::string& bytes, std::uint32_t number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void Put(std::string& bytes, const Wwn& wwn) {
    bytes.append(reinterpret_cast<const char*>(wwn.data()), wwn.size());
}

// Takes what was put in the same order.
class Taker {
  public:
    explicit Taker(const std::string& bytes) : m_bytes(bytes) {}
    bool IsAtEnd() const { return m_at >= m_bytes.size(); }
    std::uint32_t Number() {
        std::uint32_t number = 0;
        Take(&number, sizeof number);
        return number;
    }
    Wwn Name() {
        Wwn wwn{};
        Take(wwn.data(), wwn.size());
        return wwn;
    }
    std::string Text(std::uint32_t size) {
        std::string text = m_bytes.substr(m_at, size);
        m_at += text.size();
        return text;
    }

  private:
    void Take(void* to, std::size_t size) {
        std::memcpy(to, m_bytes.data() + m_at, size);
        m_at += size;
    }

    const std::string& m_bytes;
    std::size_t m_at = 0;
};

} // namespace

std::string PackedState(const State& state) {
    std::string bytes;
    for (const auto& [identifier, changes] : state) {
        Put(bytes, static_cast<std::uint32_t>(identifier.size()));
        bytes += identifier;
        Put(bytes, static_cast<std::uint32_t>(changes.created.size()));
        for (const auto& port : changes.created) {
            Put(bytes, port.portWwn);
            Put(bytes, port.fcId);
        }
        Put(bytes, static_cast<std::uint32_t>(changes.removed.size()));
        for (const auto& wwn : changes.removed)
            Put(bytes, wwn);
    }
    return bytes;
}

State UnpackedState(const std::string& bytes) {
    State state;
    Taker taker(bytes);
    while (!taker.IsAtEnd()) {
        AdapterChanges& changes = state[taker.Text(taker.Number())];
        for (std::uint32_t left = taker.Number(); left > 0; --left) {
            CreatedPort port;
            port.portWwn = taker.Name();
            port.fcId = taker.Number();
            changes.created.push_back(port);
        }
        for (std::uint32_t left = taker.Number(); left > 0; --left)
            changes.removed.push_back(taker.Name());
    }
    return state;
}

} // namespace sim
