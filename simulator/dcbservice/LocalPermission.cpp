#include "simulator/dcbservice/LocalPermission.h"

namespace {

bool MakeSid(WELL_KNOWN_SID_TYPE type, void* sid) {
    DWORD size = SECURITY_MAX_SID_SIZE;
    return CreateWellKnownSid(type, nullptr, sid, &size) != FALSE;
}

} // namespace

LocalPermission::LocalPermission(DWORD rights) : m_made(Make(rights)) {}

bool LocalPermission::Make(DWORD rights) {
    ACL* const list = reinterpret_cast<ACL*>(m_list);
    return MakeSid(WinAuthenticatedUserSid, m_users.bytes) &&
           MakeSid(WinBuiltinAdministratorsSid, m_administrators.bytes) &&
           InitializeAcl(list, sizeof m_list, ACL_REVISION) &&
           AddAccessAllowedAce(list, ACL_REVISION, rights, m_users.bytes) &&
           InitializeSecurityDescriptor(&m_descriptor, SECURITY_DESCRIPTOR_REVISION) &&
           SetSecurityDescriptorOwner(&m_descriptor, m_administrators.bytes, FALSE) &&
           SetSecurityDescriptorGroup(&m_descriptor, m_administrators.bytes, FALSE) &&
           SetSecurityDescriptorDacl(&m_descriptor, TRUE, list, FALSE);
}

std::vector<BYTE> LocalPermission::Bytes() {
    DWORD size = 0;
    if (!m_made || MakeSelfRelativeSD(&m_descriptor, nullptr, &size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return {};
    std::vector<BYTE> bytes(size);
    if (!MakeSelfRelativeSD(&m_descriptor, bytes.data(), &size))
        bytes.clear();
    return bytes;
}
