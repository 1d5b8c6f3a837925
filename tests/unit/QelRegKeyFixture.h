// What the tests of the registry key share: an open key in a local-machine hive of the program's own.
#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "FcoeAgent/QelRegKey.h"
#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"

class QelRegKeyFixture : public testing::Test {
  protected:
    using Texts = std::vector<CQelString>;
    static constexpr wchar_t PATH[] = L"Software\\Test";

    QelRegKeyFixture() { EXPECT_TRUE(m_key.Create(HKEY_LOCAL_MACHINE, PATH, true, false)); }

    Texts List(const wchar_t* name) {
        Texts texts;
        EXPECT_TRUE(m_key.GetValue(name, texts));
        return texts;
    }
    std::vector<BYTE> Raw(const wchar_t* name) {
        BYTE bytes[4096];
        ULONG size = sizeof bytes;
        EXPECT_TRUE(m_key.GetValue(name, bytes, size));
        return {bytes, bytes + size};
    }

    PrivateHive m_hive;
    CQelRegKey m_key;
    LogCapture m_log;
};
