#include "tests/kit/HandleCount.h"

#include <cstring>
#include <vector>

#include <windows.h>
#include <winternl.h>

std::size_t CountHandles() {
    // GetProcessHandleCount answers 0 under Wine; the system's handle table tells.
    constexpr int SYSTEM_HANDLE_INFORMATION = 16;
    constexpr NTSTATUS TOO_SMALL = static_cast<NTSTATUS>(0xC0000004);
    struct Entry {
        ULONG pid;
        BYTE type, flags;
        USHORT handle;
        void* object;
        ULONG access;
    };
    std::vector<BYTE> buffer(1 << 16);
    while (NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(SYSTEM_HANDLE_INFORMATION), buffer.data(),
                                    static_cast<ULONG>(buffer.size()), nullptr) == TOO_SMALL)
        buffer.resize(buffer.size() * 2);
    ULONG count = 0;
    std::memcpy(&count, buffer.data(), sizeof count);
    std::size_t own = 0;
    for (ULONG i = 0; i < count; ++i) {
        Entry entry;
        std::memcpy(&entry, buffer.data() + 8 + i * sizeof entry, sizeof entry);
        own += entry.pid == GetCurrentProcessId();
    }
    return own;
}
