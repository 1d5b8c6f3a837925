#include "tests/kit/SuiteHost.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/LogText.h"
#include "tests/kit/ProgramFolder.h"

SuiteHost::SuiteHost() {
    const auto bin = ProgramFolder();
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"InstalledDir", m_folder.Path().wstring());
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", DWORD{1});
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt", L"InstalledDir",
               (bin / L"FcoeAgnt.dll").wstring());
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt", L"InstalledDir",
               (bin / L"CoreAgnt.dll").wstring());
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"InstalledTOLV_FCOE", L"1");
    m_hive.Set(L"SOFTWARE\\ORVAN\\Network_Services\\TOLV", L"InstalledTOLV_DCB", L"1");
    m_hive.Set(L"SOFTWARE\\ORVAN\\Simulator", L"State", (m_folder.Path() / L"state.json").wstring());
}

SuiteHost::~SuiteHost() {
    Unload();
    if (m_library)
        FreeLibrary(m_library);
}

HMODULE SuiteHost::Library() {
    if (!m_library) {
        m_library = LoadLibraryW(L"orvanhapi.dll");
        EXPECT_TRUE(m_library);
    }
    return m_library;
}

void SuiteHost::Simulate(const std::string& topology) {
    // As a file, which every simulated module finds; the vendor library may be loaded already and reads it again.
    const auto file = m_folder.Path() / L"topology.json";
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(handle, topology.data(), static_cast<DWORD>(topology.size()), &written, nullptr));
    CloseHandle(handle);
    m_hive.Set(L"SOFTWARE\\ORVAN\\Simulator", L"Topology", file.wstring());
    const char* error = NEED_FUNCTION(Library(), OrvanSim_ReloadTopology)();
    ASSERT_EQ(nullptr, error) << error;
}

unsigned long long SuiteHost::Calls(const char* function) {
    return NEED_FUNCTION(Library(), OrvanSim_CallCount)(function);
}

void SuiteHost::ResetCalls() {
    NEED_FUNCTION(Library(), OrvanSim_ResetCalls)();
}

CQelFcoeAgentIntf* SuiteHost::GetAgent() {
    if (!m_agentModule)
        m_agentModule = LoadLibraryW((ProgramFolder() / L"FcoeAgnt.dll").c_str());
    EXPECT_TRUE(m_agentModule) << "error " << GetLastError();
    return m_agentModule ? NeedFunction<PFN_GetFcoeAgent>(m_agentModule, "GetFcoeAgent")() : nullptr;
}

void SuiteHost::Unload() {
    if (m_agentModule) {
        EXPECT_TRUE(FreeLibrary(m_agentModule));
    }
    m_agentModule = nullptr;
}

std::vector<std::string> SuiteHost::LogLines() const {
    return LogText::Texts(ReadFileBytes(LogFile()));
}

std::vector<std::string> SuiteHost::LogMessages() const {
    return LogText::Messages(ReadFileBytes(LogFile()));
}

bool SuiteHost::Logged(const std::string& message) const {
    const auto lines = LogLines();
    return std::find(lines.begin(), lines.end(), message) != lines.end();
}
