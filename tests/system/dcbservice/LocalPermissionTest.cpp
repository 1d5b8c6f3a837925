#include "simulator/dcbservice/LocalPermission.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD RIGHTS = 3;

// It has an owner and a group, and one entry, which gives those rights to authenticated users.
void ExpectPermission(SECURITY_DESCRIPTOR* descriptor) {
    ASSERT_TRUE(descriptor);
    EXPECT_TRUE(IsValidSecurityDescriptor(descriptor));
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    ASSERT_TRUE(present);
    ASSERT_TRUE(list);
    EXPECT_FALSE(defaulted);
    ASSERT_EQ(1, list->AceCount);
    void* entry = nullptr;
    ASSERT_TRUE(GetAce(list, 0, &entry));
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    EXPECT_EQ(ACCESS_ALLOWED_ACE_TYPE, allowed->Header.AceType);
    EXPECT_EQ(RIGHTS, allowed->Mask);
    EXPECT_TRUE(IsWellKnownSid(&allowed->SidStart, WinAuthenticatedUserSid));
    PSID owner = nullptr;
    PSID group = nullptr;
    EXPECT_TRUE(GetSecurityDescriptorOwner(descriptor, &owner, &defaulted));
    EXPECT_TRUE(GetSecurityDescriptorGroup(descriptor, &group, &defaulted));
    ASSERT_TRUE(owner);
    ASSERT_TRUE(group);
    EXPECT_TRUE(IsWellKnownSid(owner, WinBuiltinAdministratorsSid));
    EXPECT_TRUE(IsWellKnownSid(group, WinBuiltinAdministratorsSid));
}

WORD Control(SECURITY_DESCRIPTOR* descriptor) {
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    EXPECT_TRUE(GetSecurityDescriptorControl(descriptor, &control, &revision));
    return control;
}

} // namespace

TEST(LocalPermission, IsAbsoluteForCom) {
    LocalPermission permission(RIGHTS);
    ExpectPermission(permission.Descriptor());
    EXPECT_FALSE(Control(permission.Descriptor()) & SE_SELF_RELATIVE);
}

TEST(LocalPermission, IsOnePieceForTheRegistry) {
    auto bytes = LocalPermission(RIGHTS).Bytes();
    auto* const descriptor = reinterpret_cast<SECURITY_DESCRIPTOR*>(bytes.data());
    ExpectPermission(descriptor);
    EXPECT_TRUE(Control(descriptor) & SE_SELF_RELATIVE);
    EXPECT_EQ(bytes.size(), GetSecurityDescriptorLength(descriptor));
}
