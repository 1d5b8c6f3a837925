// One device information set: the topology's adapters as network devices.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <windows.h>

#include "simulator/topology/Topology.h"

namespace setupapi {

class DeviceList {
  public:
    explicit DeviceList(std::vector<sim::Adapter> adapters);
    ~DeviceList();
    DeviceList(const DeviceList&) = delete;
    DeviceList& operator=(const DeviceList&) = delete;

    // Null: there is no such device.
    const sim::Adapter* Device(std::uintptr_t index) const {
        return index < m_adapters.size() ? &m_adapters[index] : nullptr;
    }
    // The key that stands for the device's driver key; it goes with the set. Null and the last error when that fails.
    HKEY OpenDriverKey(std::uintptr_t index, REGSAM access) const;

  private:
    std::vector<sim::Adapter> m_adapters; // a copy: the set stays as it was when it was made
    std::wstring m_keys;                  // below HKEY_CURRENT_USER, one key for each device that was asked for
};

// The sets that are open, by the handle that the caller holds.
class DeviceLists {
  public:
    static DeviceLists& Instance();

    void* Add(std::vector<sim::Adapter> adapters);
    // Null: the handle stands for no open set.
    std::shared_ptr<const DeviceList> Find(void* handle);
    bool Remove(void* handle);

  private:
    std::mutex m_lock;
    std::set<std::shared_ptr<const DeviceList>> m_lists;
};

} // namespace setupapi
