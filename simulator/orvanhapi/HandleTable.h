// The adapters that are open. An adapter has the same handle each time it is opened.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "FcoeAgent/HbaApi.h"
#include "simulator/control/Simulation.h"

namespace orvanhapi {

class HandleTable {
  public:
    static HandleTable& Instance();

    HBA_HANDLE Open(const sim::Adapter& adapter);
    // As often as it was opened; closing more often does nothing.
    void Close(HBA_HANDLE handle);
    // The scene's adapter of an open handle; null: the handle is not open.
    const sim::Adapter* Find(const sim::Scene& scene, HBA_HANDLE handle) const;
    // How many opens were not closed yet.
    unsigned OpenCount() const;

  private:
    std::array<std::atomic<std::uint32_t>, sim::MAX_ADAPTERS> m_opens{}; // by the adapter's place
};

} // namespace orvanhapi
