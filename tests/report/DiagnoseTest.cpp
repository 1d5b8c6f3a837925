// `fcoectl diagnose` on the simulated suite, and its archives.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"
#include "tests/report/SuiteReport.h"
#include "tests/report/Unzip.h"
#include "tools/fcoectl/diagnose/ZipArchive.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Entries = std::map<std::string, std::string>;

std::vector<std::string> NamesOf(const Entries& entries) {
    std::vector<std::string> names;
    for (const auto& [name, text] : entries)
        names.push_back(name);
    return names;
}

BOOL WINAPI ReadNothing(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) {
    SetLastError(ERROR_CRC);
    return FALSE;
}

class Diagnose : public testing::Test {
  protected:
    Entries Archive(int exit, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"diagnose", suite.File("all.zip")});
        const Answer answer = suite.Run(options);
        EXPECT_EQ(exit, answer.exit) << answer.err;
        return Unzip(suite.Text("all.zip"));
    }

    SuiteReport suite;
};

} // namespace

TEST_F(Diagnose, PacksReportLogsRegistryVersionsAndARecording) {
    suite.Run({"vlans"});
    const std::string before = suite.Log();
    const Entries entries = Archive(0);
    EXPECT_THAT(NamesOf(entries), ElementsAre("log-before/FcoeAgnt.txt", "log/FcoeAgnt.txt", "recording.json",
                                              "registry.txt", "report.html", "version.json"));
    EXPECT_EQ(before, entries.at("log-before/FcoeAgnt.txt"));
    EXPECT_EQ(suite.Log(), entries.at("log/FcoeAgnt.txt"));
    EXPECT_THAT(entries.at("report.html"), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(entries.at("registry.txt"),
                HasSubstr("[HKEY_LOCAL_MACHINE\\SOFTWARE\\ORVAN\\Network_Services\\QEL2]\n"));
    EXPECT_THAT(entries.at("registry.txt"), HasSubstr("\nTRACE = 1\n"));
    EXPECT_THAT(entries.at("registry.txt"), HasSubstr("\nInstalledTOLV_FCOE = \"1\"\n"));
    EXPECT_EQ(suite.Run({"version", "--json"}).out, entries.at("version.json"));
    suite.Run({"record", suite.File("recorded.json")});
    EXPECT_EQ(suite.Text("recorded.json"), entries.at("recording.json"));
}

TEST_F(Diagnose, WithoutARecordingTheRestIsPacked) {
    const Answer answer = suite.Run({"diagnose", suite.File("all.zip"), "--library-dir", suite.File("no folder")});
    EXPECT_THAT(answer.err, HasSubstr("Nothing was recorded: There is no folder "));
    const Entries entries = Unzip(suite.Text("all.zip"));
    EXPECT_FALSE(entries.contains("recording.json"));
    EXPECT_TRUE(entries.contains("registry.txt"));
}

TEST_F(Diagnose, TellsWhatItPacked) {
    const auto document = suite.Run({"diagnose", suite.File("all.zip"), "--json"}).Json();
    EXPECT_EQ(suite.File("all.zip"), document["output"]);
    EXPECT_EQ(NamesOf(Unzip(suite.Text("all.zip"))).size(), document["entries"].size());
    EXPECT_THAT(suite.Run({"diagnose", suite.File("all.zip")}).out, StartsWith("Wrote "));
    EXPECT_EQ(std::vector<std::string>{"all.zip"}, suite.Files());
}

TEST_F(Diagnose, MaskedNoFileHasAName) {
    suite.Break();
    suite.Run({"targets"}); // whose log is the one from before
    for (const auto& [name, text] : Archive(1, {"--mask"}))
        for (const std::string& secret : SECRETS)
            EXPECT_THAT(text, Not(HasSubstr(secret))) << name;
}

TEST_F(Diagnose, TellsOfALogThatCannotBeReadToItsEnd) {
    suite.Run({"vlans"});
    const ImportPatch read(nullptr, "KERNEL32.dll", "ReadFile", reinterpret_cast<void*>(&ReadNothing));
    EXPECT_THAT(suite.Run({"diagnose", suite.File("all.zip")}).err,
                HasSubstr("FcoeAgnt.txt\" could not be read to its end: "));
}

TEST_F(Diagnose, WithoutAnAgentTheRestIsPacked) {
    const Entries entries = Archive(3, {"--agent", "no such file.dll"});
    EXPECT_THAT(entries.at("report.html"), HasSubstr("no such file.dll"));
    EXPECT_THAT(entries.at("version.json"), HasSubstr("fcoectl_version"));
}

TEST_F(Diagnose, OtherTypesOfValuesAreBytes) {
    const BYTE bytes[] = {0x0A, 0xFF};
    suite.Hive().SetRaw(L"SOFTWARE\\ORVAN\\Other", L"blob", REG_BINARY, bytes, sizeof bytes);
    EXPECT_THAT(Archive(0).at("registry.txt"),
                HasSubstr("[HKEY_LOCAL_MACHINE\\SOFTWARE\\ORVAN\\Other]\nblob = type 3: 0A FF\n"));
}

TEST(ZipArchive, KeepsWhatItGets) {
    std::string large; // more than a piece, and nothing that deflates to little
    for (unsigned state = 1; large.size() < 300'000; state = state * 1664525 + 1013904223)
        large += static_cast<char>(state >> 24);
    fcoectl::ZipArchive zip;
    zip.Add("empty", "");
    zip.Begin("in pieces");
    zip.Write(large);
    zip.Write("end");
    zip.End();
    zip.Add("folder/zeros", std::string(1'000'000, '\0'));
    EXPECT_EQ(3, zip.Entries());
    const std::string archive = zip.Finish();
    EXPECT_GT(310'000u, archive.size());
    EXPECT_EQ((Entries{{"empty", ""}, {"in pieces", large + "end"}, {"folder/zeros", std::string(1'000'000, '\0')}}),
              Unzip(archive));
}
