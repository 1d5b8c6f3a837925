// Where the agent's log can be, for a test of its own: a registered folder and a temporary one.
#pragma once

#include <gtest/gtest.h>

#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"

class LogFolders : public testing::Test {
  protected:
    static constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";

    LogFolders() {
        GetEnvironmentVariableW(L"Temp", m_temp, MAX_PATH);
        SetEnvironmentVariableW(L"Temp", temporary.Path().c_str());
        hive.Set(SUITE, L"InstalledDir", registered.Path().wstring());
    }
    ~LogFolders() override { SetEnvironmentVariableW(L"Temp", m_temp); }

    TempFolder registered;
    TempFolder temporary;
    PrivateHive hive;

  private:
    wchar_t m_temp[MAX_PATH] = L""; // the process's own
};
