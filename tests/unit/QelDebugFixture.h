// What the tests of the diagnostic log share: a log of the test's own, and child processes for the program's.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "FcoeAgent/QelDebug.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"

class QelDebugFixture : public testing::Test {
  protected:
    using Texts = std::vector<std::string>;
    static constexpr wchar_t SUITE[] = L"SOFTWARE\\ORVAN\\NETWORK_SERVICES\\QEL2";
    static constexpr wchar_t MODULE[] = L"FCOEAGENT";

    QelDebugFixture() {
        wchar_t temp[MAX_PATH] = {};
        GetEnvironmentVariableW(L"Temp", temp, MAX_PATH);
        m_tempBefore = temp;
        m_file = m_folder.Path() / L"log.txt";
        SetTemp(m_folder.Path());
    }
    ~QelDebugFixture() override {
        m_log.reset();
        SetTemp(m_tempBefore);
    }

    // The lines of a log file, and what is left of them without their headers.
    static Texts LinesOf(const std::filesystem::path& file) {
        Texts lines;
        const std::string bytes = ReadFileBytes(file);
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t end = std::min(bytes.find("\r\n", at), bytes.size());
            lines.push_back(bytes.substr(at, end - at));
            at = end + 2;
        }
        return lines;
    }
    static Texts MessagesOf(const std::filesystem::path& file) {
        Texts lines = LinesOf(file);
        for (std::string& line : lines)
            line.erase(0, line.find("\t\t") + 2);
        return lines;
    }

    static void SetTemp(const std::filesystem::path& folder) { SetEnvironmentVariableW(L"Temp", folder.c_str()); }
    void SetTrace(DWORD level) { m_hive.Set(SUITE, L"TRACE", level); }
    void SetInstalledDir(const std::filesystem::path& folder) { m_hive.Set(SUITE, L"InstalledDir", folder.wstring()); }
    int Configure(ULONG level, int append = 0, ULONG maximumSize = 0) {
        return m_log->Configure(MODULE, L"log.txt", level, append, maximumSize);
    }

    // For a child process: its own log is at the level, and its exit code tells whether the file holds what is
    // expected.
    template <class F> void Run(ULONG level, const Texts& expected, F write) {
        SetInstalledDir(m_folder.Path());
        if (level != 0 && CQelDebug::Instance().Configure(MODULE, L"log.txt", level, 0, 0) != 0)
            _exit(2);
        write();
        _exit(MessagesOf(m_file) == expected ? 0 : 1);
    }

    PrivateHive m_hive;
    TempFolder m_folder;
    std::filesystem::path m_file;
    std::wstring m_tempBefore;
    std::optional<CQelDebug> m_log{std::in_place};
};
