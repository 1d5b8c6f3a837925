#include "tests/soak/Shared.h"

#include <system_error>

namespace soak {

SharedMemory::SharedMemory(const std::wstring& name)
    : m_mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(SharedState),
                                   (L"Local\\" + name).c_str())),
      m_state(static_cast<SharedState*>(
          m_mapping ? MapViewOfFile(m_mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(SharedState)) : nullptr)) {
    if (!m_state)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "shared memory");
}

SharedMemory::~SharedMemory() {
    UnmapViewOfFile(m_state);
    CloseHandle(m_mapping);
}

} // namespace soak
