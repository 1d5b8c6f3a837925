// simctl verify as it is typed.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <windows.h>

#include "simulator/topology/Text.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
#include "tests/verify/Asked.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Verify : public testing::Test {
  protected:
    const Variable m_topology{L"ORVAN_SIM_TOPOLOGY", (SourceFolder() / "simulator/topology/default.json").wstring()};
    TempFolder m_folder;

    std::string Put(const char* name, const std::string& bytes) const {
        std::ofstream(m_folder.Path() / name, std::ios::binary) << bytes;
        return sim::Utf8((m_folder.Path() / name).wstring());
    }
};

// The bytes of a module from another one's, with one text in the place of another of the same length.
std::string Replaced(std::string bytes, const std::string& from, const std::string& to) {
    EXPECT_EQ(from.size(), to.size());
    for (auto at = bytes.find(from); at != bytes.npos; at = bytes.find(from, at + 1))
        bytes.replace(at, from.size(), to);
    return bytes;
}

std::string Module(const wchar_t* name) {
    return ReadFileBytes(sim::Wide(ProgramFile(name)));
}

// What the program itself writes to its output alone.
std::string OutputOf(const std::wstring& arguments) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE read = nullptr, write = nullptr;
    EXPECT_TRUE(CreatePipe(&read, &write, &inherit, 0));
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = write;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(
        StartProcess(L'"' + (ProgramFolder() / L"simctl.exe").wstring() + L"\" " + arguments, true, start, process));
    CloseHandle(write);
    std::string output;
    char block[4096];
    for (DWORD size = 0; ReadFile(read, block, sizeof block, &size, nullptr) && size > 0;)
        output.append(block, size);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(read);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return output;
}

} // namespace

TEST_F(Verify, OursPassWithoutAWord) {
    const auto printed =
        RunSimctl({"verify", "--library", ProgramFile(L"orvanhapi.dll"), "--core-agent", ProgramFile(L"CoreAgnt.dll")});
    EXPECT_EQ(0, printed.code) << printed.out;
    EXPECT_EQ("", printed.err);
    EXPECT_THAT(printed.out, HasSubstr("CoreAgnt.dll: good: "));
    EXPECT_THAT(printed.out, HasSubstr("orvanhapi.dll: good: "));
    EXPECT_THAT(printed.out, EndsWith(" calls of 18 functions, 2 adapters\n"));
}

TEST_F(Verify, TheSimulatedLibraryIsAskedForTheTopologysAdapters) {
    const auto printed = RunSimctl({"verify", "--json", "--library", ProgramFile(L"orvanhapi.dll")});
    EXPECT_EQ(0, printed.code);
    const auto document = nlohmann::json::parse(printed.out);
    EXPECT_EQ("simctl/verify", document["schema"]);
    EXPECT_EQ(true, document["good"]);
    EXPECT_EQ("library", document["neighbours"][0]["neighbour"]);
    EXPECT_EQ(BuiltInAdapters(), document["neighbours"][0]["adapters"]);
    EXPECT_LT(1, document["neighbours"][0]["calls"]["ORVAN_GetTargetList"]);
}

TEST_F(Verify, ADeviationIsALineWithItsConsequence) {
    const Variable deviation(L"VERIFY_DEVIATION", L"list is refused");
    const auto printed = RunSimctl({"verify", "--core-agent", ProgramFile(L"DeviatingCoreAgent.dll")});
    EXPECT_EQ(1, printed.code);
    EXPECT_THAT(printed.out, StartsWith("status EnumerateAdapters: code 7. There are no adapters; the answer is TRUE. "
                                        "The log has `EnumerateAdapters failed!`.\n"));
    EXPECT_THAT(printed.out, HasSubstr("DeviatingCoreAgent.dll: 1 deviation: "));
}

TEST_F(Verify, OneLineStandsForAllAdapters) {
    const Variable deviation(L"VERIFY_DEVIATION", L"no display name");
    const auto file = ProgramFile(L"DeviatingCoreAgent.dll");
    EXPECT_THAT(RunSimctl({"verify", "--core-agent", file}).out,
                StartsWith("no_display_name GetAdapterInfo of {5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1} and 1 more: "));
    const auto document = nlohmann::json::parse(RunSimctl({"verify", "--json", "--core-agent", file}).out);
    const auto& told = document["neighbours"][0]["deviations"];
    ASSERT_EQ(1u, told.size());
    EXPECT_EQ(BuiltInAdapters(), told[0]["adapters"]);
    EXPECT_EQ("an empty text", told[0]["found"]);
}

TEST_F(Verify, SaysWhyAModuleCannotBeLoaded) {
    const auto why = [](const std::string& file) {
        const auto printed = RunSimctl({"verify", "--library", file});
        EXPECT_EQ(1, printed.code);
        return printed.out.substr(0, printed.out.find(". "));
    };
    EXPECT_EQ("load: there is no such file", why("nowhere\\none.dll"));
    EXPECT_EQ("load: the file is no module", why(Put("text.dll", "no module")));
    std::string other = Module(L"DeviatingLibrary.dll");
    const std::size_t header = static_cast<unsigned char>(other[0x3C]); // where its NT headers begin
    other[header + 4] = '\x4C';                                         // i386
    other[header + 5] = '\x01';
    EXPECT_EQ("load: the module is for 32-bit x86; the agent is for x86-64", why(Put("other.dll", other)));
    EXPECT_EQ("load: the module needs libstdc++-9.dll, which is not there",
              why(Put("needs.dll", Replaced(Module(L"DeviatingLibrary.dll"), "libstdc++-6.dll", "libstdc++-9.dll"))));
}

TEST_F(Verify, TheCommandLineIsChecked) {
    const auto none = RunSimctl({"verify"});
    EXPECT_EQ(2, none.code);
    EXPECT_THAT(none.err, HasSubstr("--library or --core-agent"));
    EXPECT_EQ(2, RunSimctl({"verify", "--library", "x.dll", "--limit", "0"}).code);
    const auto mistyped = RunSimctl({"verify", "--libary", "x.dll"});
    EXPECT_EQ(2, mistyped.code);
    EXPECT_THAT(mistyped.err, HasSubstr("did you mean \"--library\"?"));
}

TEST_F(Verify, WhatANeighbourPrintsIsNotInTheDocument) {
    const Variable deviation(L"VERIFY_DEVIATION", L"prints");
    const std::string output =
        OutputOf(L"verify --json --core-agent \"" + sim::Wide(ProgramFile(L"DeviatingCoreAgent.dll")) + L'"');
    EXPECT_EQ(true, nlohmann::json::parse(output)["good"]) << output;
}

// All that the agent does not read is left alone: the deviating modules end the process when it is called.
TEST_F(Verify, AsksForNoChange) {
    const Variable calls(L"ORVAN_SIM_CALLS", (m_folder.Path() / "calls.txt").wstring());
    const auto asked = AskInProcess(verify::Neighbour::Library, L"orvanhapi.dll", BuiltInAdapters());
    EXPECT_EQ(Told{}, asked.All());
    const std::string log = ReadFileBytes(m_folder.Path() / "calls.txt");
    EXPECT_THAT(log, HasSubstr("ORVAN_GetTargetList"));
    for (const char* changing : {"ORVAN_RescanScsiBus", "ORVAN_GeneratePortWWN", "ORVAN_CreateVPort",
                                 "ORVAN_RemoveVPort", "RefreshInformation"})
        EXPECT_THAT(log, testing::Not(HasSubstr(changing)));
}
