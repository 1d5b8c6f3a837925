// What fcoectl shows while the topology's file is wrong and the one before it stays in use.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/FindFunction.h"
#include "tests/reading/ReadingHost.h"
#include "tools/fcoectl/Text.h"

using testing::HasSubstr;

namespace {

class LastGoodTopology : public testing::Test {
  protected:
    LastGoodTopology() {
        Write(ReadingHost::Topology(""));
        SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", File().c_str());
        EXPECT_EQ(nullptr, NEED_FUNCTION(m_host.Suite().Library(), OrvanSim_ReloadTopology)());
    }
    ~LastGoodTopology() override { SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", nullptr); }

    std::wstring File() { return (m_host.Suite().Folder() / L"lab.json").wstring(); }
    void Write(const std::string& text) { std::ofstream(m_host.Suite().Folder() / L"lab.json") << text; }

    ReadingHost m_host;
};

} // namespace

TEST_F(LastGoodTopology, IsShownWithANoteOfTheError) {
    const std::string whole = ReadingHost::Topology("");
    const auto good = m_host.Run("hbas");
    EXPECT_EQ(0, good.exit);
    EXPECT_FALSE(good.document.contains("notes")) << good.document["notes"];
    Write(whole.substr(0, whole.size() / 2));
    for (const char* words : READERS) {
        const auto reading = m_host.Run(words);
        EXPECT_EQ(0, reading.exit) << words;
        ASSERT_TRUE(reading.document.contains("notes")) << words;
        const std::string note = reading.document["notes"].back();
        EXPECT_THAT(note, HasSubstr("The simulated suite's topology is wrong: " + fcoectl::ToUtf8(File()) + ":"))
            << words;
        EXPECT_THAT(note, HasSubstr("; the last good topology stays in use.")) << words;
    }
    EXPECT_EQ(good.document["hbas"], m_host.Run("hbas").document["hbas"]);
    Write(whole);
    EXPECT_FALSE(m_host.Run("hbas").document.contains("notes"));
}
