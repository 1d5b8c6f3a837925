// The kit's look-up of a module's exports.
#include <gtest/gtest.h>

#include "tests/kit/FindFunction.h"

TEST(FindFunction, FindsAnExportByItsDeclaration) {
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto function = FIND_FUNCTION(kernel, GetCurrentProcessId);
    ASSERT_TRUE(function);
    EXPECT_EQ(GetCurrentProcessId(), function());
    EXPECT_EQ(function, NEED_FUNCTION(kernel, GetCurrentProcessId));
}

TEST(FindFunction, OfAnExportThatIsMissingIsNullOrThrows) {
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    EXPECT_FALSE(FindFunction<void (*)()>(kernel, "NoSuchFunction"));
    EXPECT_THROW(NeedFunction<void (*)()>(kernel, "NoSuchFunction"), std::runtime_error);
}
