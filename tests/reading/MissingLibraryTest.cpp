// Without the adapters' HBA library nothing is made up: no link that lacks a cable, no counters of zero.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/SuiteHost.h"
#include "tests/reading/CapturedOutput.h"
#include "tests/reading/ReadingHost.h"
#include "tools/fcoectl/Run.h"

using testing::HasSubstr;
using testing::Not;

namespace {

using PFN_LoadLibraryW = decltype(&LoadLibraryW);
PFN_LoadLibraryW g_load;

HMODULE WINAPI LoadOthers(const wchar_t* name) {
    if (wcsstr(name, L"orvanhapi")) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return g_load(name);
}

// The agent as it is loaded stays so, and finds no library.
class MissingLibrary : public testing::TestWithParam<DWORD> {
  protected:
    MissingLibrary() {
        const auto file = m_host.Folder() / L"topology.json";
        std::ofstream(file) << ReadingHost::Topology("");
        m_host.Hive().Set(L"SOFTWARE\\ORVAN\\Simulator", L"Topology", file.wstring());
        m_host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", GetParam());
        m_agent = LoadLibraryW((ProgramFolder() / L"FcoeAgnt.dll").c_str());
        m_load.emplace(m_agent, "kernel32.dll", "LoadLibraryW", reinterpret_cast<void*>(&LoadOthers));
        g_load = m_load->Original<PFN_LoadLibraryW>();
    }
    ~MissingLibrary() override {
        m_load.reset();
        FreeLibrary(m_agent);
    }

    static nlohmann::ordered_json Run(std::vector<std::string> words) {
        CapturedOutput captured;
        words.emplace_back("--json");
        EXPECT_EQ(1, fcoectl::Run(words, captured)) << words.front();
        auto document = nlohmann::ordered_json::parse(captured.out, nullptr, false);
        EXPECT_EQ(1u, document["problems"].size()) << document["problems"];
        EXPECT_EQ("", document["problems"][0]["adapter"]);
        EXPECT_EQ("orvanhapi.dll", document["problems"][0]["function"]);
        EXPECT_THAT(document["problems"][0]["text"].get<std::string>(), HasSubstr("HBA library"));
        return document;
    }

    SuiteHost m_host;
    HMODULE m_agent;
    std::optional<ImportPatch> m_load;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(All, MissingLibrary, testing::Values(DWORD{1}, DWORD{0}),
                         [](const auto& info) { return std::string(info.param ? "Logged" : "Unlogged"); });

TEST_P(MissingLibrary, IsTheOneProblemOfEachList) {
    for (const char* command : {"hbas", "fabrics", "ports", "targets", "luns", "disks", "vlans", "tree"})
        Run({command});
    Run({"vport", "list"});
}

TEST_P(MissingLibrary, IsTheOneProblemOfAnAdapterAskedAlone) {
    for (const char* command :
         {"hbas", "fabrics", "ports", "targets", "luns", "disks", "vlans", "tree", "stats", "dcb"})
        Run({command, "--adapter", ReadingHost::FAULTY});
}

TEST_P(MissingLibrary, IsNoCable) {
    const auto document = Run({"dcb"});
    EXPECT_EQ(2u, document["links"].size());
    for (const auto& link : document["links"])
        EXPECT_EQ("unread", link["state"]);
    EXPECT_THAT(document.dump(), Not(HasSubstr("cable")));
}

TEST_P(MissingLibrary, IsNoCounterOfZero) {
    EXPECT_TRUE(Run({"stats"})["statistics"].empty());
    for (const auto& sample : Run({"stats", "--watch", "0.1", "--count", "2"})["samples"])
        EXPECT_TRUE(sample["statistics"].empty());
}

TEST_P(MissingLibrary, IsNoRescan) {
    CapturedOutput captured;
    EXPECT_EQ(16, fcoectl::Run({"rescan", "--adapter", ReadingHost::FAULTY}, captured));
    EXPECT_THAT(captured.err, HasSubstr("Nothing was rescanned.\n  The adapters' HBA library"));
    EXPECT_EQ("", captured.out);
}
