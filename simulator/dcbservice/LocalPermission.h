// Permission for every user who is known to this machine, and nobody else, as COM reads it.
#pragma once

#include <vector>

#include <windows.h>

class LocalPermission {
  public:
    // rights: COM_RIGHTS_...
    explicit LocalPermission(DWORD rights);
    LocalPermission(const LocalPermission&) = delete;
    LocalPermission& operator=(const LocalPermission&) = delete;

    // Absolute, with owner and group, as CoInitializeSecurity wants it. Null: it could not be made, GetLastError tells
    // why.
    SECURITY_DESCRIPTOR* Descriptor() { return m_made ? &m_descriptor : nullptr; }
    // In one piece, as the registry keeps it; empty: likewise.
    std::vector<BYTE> Bytes();

  private:
    bool Make(DWORD rights);

    struct Sid {
        alignas(DWORD) BYTE bytes[SECURITY_MAX_SID_SIZE];
    };
    Sid m_users{};
    Sid m_administrators{};
    alignas(ACL) BYTE m_list[sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + SECURITY_MAX_SID_SIZE]{};
    SECURITY_DESCRIPTOR m_descriptor{};
    bool m_made;
};
