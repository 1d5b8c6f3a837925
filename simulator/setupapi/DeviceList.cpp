#include "simulator/setupapi/DeviceList.h"

#include <algorithm>
#include <atomic>

#include "simulator/topology/Text.h"

namespace setupapi {
namespace {

std::wstring NextKeyPath() {
    static std::atomic<unsigned> lists;
    return L"Software\\OrvanSimDevices." + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++lists);
}

} // namespace

DeviceList::DeviceList(std::vector<sim::Adapter> adapters) : m_adapters(std::move(adapters)), m_keys(NextKeyPath()) {}

DeviceList::~DeviceList() {
    RegDeleteTreeW(HKEY_CURRENT_USER, m_keys.c_str());
}

HKEY DeviceList::OpenDriverKey(std::uintptr_t index, REGSAM access) const {
    // Volatile: what a process that died left behind goes with the session.
    const std::wstring path = m_keys + L"\\" + std::to_wstring(index);
    const std::wstring identifier = sim::Wide(m_adapters[index].identifier);
    HKEY key = nullptr;
    LSTATUS error = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_SET_VALUE,
                                    nullptr, &key, nullptr);
    if (error == ERROR_SUCCESS) {
        error = RegSetValueExW(key, L"NetCfgInstanceId", 0, REG_SZ, reinterpret_cast<const BYTE*>(identifier.c_str()),
                               static_cast<DWORD>((identifier.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
    }
    HKEY opened = nullptr;
    if (error == ERROR_SUCCESS)
        error = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, access, &opened);
    SetLastError(static_cast<DWORD>(error));
    return error == ERROR_SUCCESS ? opened : nullptr;
}

DeviceLists& DeviceLists::Instance() {
    static DeviceLists lists;
    return lists;
}

void* DeviceLists::Add(std::vector<sim::Adapter> adapters) {
    auto list = std::make_shared<DeviceList>(std::move(adapters));
    const std::lock_guard lock(m_lock);
    m_lists.insert(list);
    return list.get();
}

std::shared_ptr<const DeviceList> DeviceLists::Find(void* handle) {
    const std::lock_guard lock(m_lock);
    const auto found =
        std::find_if(m_lists.begin(), m_lists.end(), [handle](const auto& list) { return list.get() == handle; });
    return found == m_lists.end() ? nullptr : *found;
}

bool DeviceLists::Remove(void* handle) {
    const std::lock_guard lock(m_lock);
    return std::erase_if(m_lists, [handle](const auto& list) { return list.get() == handle; }) > 0;
}

} // namespace setupapi
