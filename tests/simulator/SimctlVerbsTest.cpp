// The verbs of simctl, run in this process with a registry of its own.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

#include "simulator/control/World.h"
#include "simulator/simctl/CallLine.h"
#include "simulator/simctl/Run.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"
#include "tests/kit/PrivateHive.h"
#include "tests/kit/TempFolder.h"
#include "tests/simulator/LoadedLibrary.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr wchar_t KEY[] = L"SOFTWARE\\ORVAN\\Simulator";
constexpr wchar_t INSTANCE[] = L"ORVAN_SIM_INSTANCE";

struct Outcome : simctl::Console {
    void Out(std::string_view text) override { out += text; }
    void Err(std::string_view text) override { err += text; }

    int code = -1;
    std::string out;
    std::string err;
};

Outcome RunVerb(const std::vector<std::string>& arguments) {
    Outcome outcome;
    outcome.code = simctl::Run(outcome, arguments);
    return outcome;
}

class SimctlVerbs : public testing::Test {
  protected:
    SimctlVerbs() {
        for (const auto* variable : {L"ORVAN_SIM_TOPOLOGY", L"ORVAN_SIM_STATE", L"ORVAN_SIM_CALLS"})
            SetEnvironmentVariableW(variable, nullptr);
        // A suite of its own: other tests' processes are in none of its worlds.
        SetEnvironmentVariableW(INSTANCE, (L"simctl" + std::to_wstring(GetCurrentProcessId())).c_str());
        Write("good.json", GOOD);
        Write("bad.json", "{\"adapters\": [],\n \"faults\": 5,\n \"x\": 1}");
        m_hive.Set(KEY, L"State", Path("state.json"));
    }
    ~SimctlVerbs() override {
        for (const auto* variable : {L"ORVAN_SIM_TOPOLOGY", L"ORVAN_SIM_CALLS", INSTANCE})
            SetEnvironmentVariableW(variable, nullptr);
    }

    std::wstring Path(const char* name) const { return (m_folder.Path() / name).wstring(); }
    std::string Name(const char* name) const { return sim::Utf8(Path(name)); }
    std::string Text(const char* name) const { return ReadFileBytes(Path(name)); }
    void Write(const char* name, const std::string& text) const {
        const HANDLE handle = CreateFileW(Path(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
        CloseHandle(handle);
    }

    // What the changes to the file go by.
    std::string StateName(const char* name) const { return sim::Utf8(sim::FileKey(Path(name))); }
    void WriteState(const std::string& topology, const char* changes) const {
        Write("state.json", ordered_json{{topology, ordered_json::parse(changes)}}.dump());
    }

    static constexpr char PORTS[] = R"({"{11111111-2222-4333-8444-555555555501}": {"created": [
        {"port_wwn": "20:02:02:05:7C:00:00:01", "fc_id": 68098}], "removed": ["20:01:02:05:7C:00:00:01"]}})";
    static constexpr char GOOD[] = R"({ // the lab
    "adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01",
        "port": {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01", "state": 2}, // up
        "vlans": [{"id": 5000}]}]
}
)";
    TempFolder m_folder;
    PrivateHive m_hive;
};

} // namespace

TEST_F(SimctlVerbs, CheckTellsAllOfAllFiles) {
    const auto outcome = RunVerb({"check", Name("bad.json"), Name("good.json"), Name("none.json")});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ(Name("good.json") + ": good, with 1 warning: 1 adapters, 0 logical units, 0 faults\n", outcome.out);
    EXPECT_EQ(
        Name("bad.json") + ":2:12: /faults: expected a list, found 5\n" + Name("bad.json") +
            ":3:2: /: unknown key \"x\"\n" + Name("good.json") +
            ":4:26: warning: /adapters/0/vlans/0/id: no VLAN has the identifier 5000; write one from 1 to 4094\n" +
            Name("none.json") + ": cannot be read: error 2",
        outcome.err.substr(0, outcome.err.rfind(" (")));
}

TEST_F(SimctlVerbs, CheckFailsForWarningsWhenStrict) {
    EXPECT_EQ(0, RunVerb({"check", Name("good.json")}).code);
    EXPECT_EQ(1, RunVerb({"check", "--strict", Name("good.json")}).code);
    EXPECT_EQ("", RunVerb({"check", "--strict", Name("good.json")}).out);
}

TEST_F(SimctlVerbs, CheckWritesOneDocument) {
    const auto outcome = RunVerb({"check", "--json", Name("bad.json"), Name("good.json")});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ("", outcome.err);
    const auto document = ordered_json::parse(outcome.out);
    EXPECT_EQ("simctl/check", document["schema"]);
    EXPECT_FALSE(document["good"]);
    EXPECT_EQ(
        ordered_json::parse(R"({"pointer": "/faults", "line": 2, "column": 12, "text": "expected a list, found 5"})"),
        document["files"][0]["errors"][0]);
    ASSERT_EQ(1u, document["files"][1]["warnings"].size());
    EXPECT_EQ("vlan_id", document["files"][1]["warnings"][0]["code"]);
    EXPECT_EQ("write one from 1 to 4094", document["files"][1]["warnings"][0]["advice"]);
    EXPECT_EQ(1, document["files"][1]["adapters"]);
}

TEST_F(SimctlVerbs, CheckTakesTheTopologyInUse) {
    EXPECT_EQ("good: 2 adapters, 6 logical units, 0 faults\n", RunVerb({"check"}).out);
    m_hive.Set(KEY, L"Topology", Path("bad.json"));
    EXPECT_EQ(1, RunVerb({"check"}).code);
}

TEST_F(SimctlVerbs, UseSetsTheRegistryValue) {
    const auto outcome = RunVerb({"use", Name("good.json")});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("in use: " + Name("good.json") + ": 1 adapters, 0 logical units, 0 faults\n", outcome.out);
    EXPECT_NE(std::string::npos, outcome.err.find("warning"));
    EXPECT_EQ(1u, sim::LoadConfiguredTopology().adapters.size());
    EXPECT_EQ("in use: built-in topology: 2 adapters, 6 logical units, 0 faults\n", RunVerb({"use", "--default"}).out);
    EXPECT_EQ(2u, sim::LoadConfiguredTopology().adapters.size());
    EXPECT_EQ(0, RunVerb({"use", "--default"}).code); // it is already
}

TEST_F(SimctlVerbs, UseMakesNamesWhole) {
    const auto folder = fs::current_path();
    fs::current_path(m_folder.Path());
    EXPECT_EQ(0, RunVerb({"use", "good.json"}).code);
    fs::current_path(folder);
    EXPECT_TRUE(sim::TopologyFile().is_absolute());
    EXPECT_TRUE(fs::equivalent(Path("good.json"), sim::TopologyFile()));
}

TEST_F(SimctlVerbs, UseRefusesAWrongFile) {
    const auto outcome = RunVerb({"use", Name("bad.json")});
    EXPECT_EQ(1, outcome.code);
    EXPECT_NE(std::string::npos, outcome.err.find("not taken into use: " + Name("bad.json") + " is wrong\n"));
    EXPECT_TRUE(sim::TopologyFile().empty());
    EXPECT_EQ(1, RunVerb({"use", Name("none.json")}).code);
    EXPECT_EQ(2, RunVerb({"use"}).code);
    EXPECT_EQ(2, RunVerb({"use", "--default", Name("good.json")}).code);
}

TEST_F(SimctlVerbs, UseSaysThatTheVariableComesFirst) {
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", Path("bad.json").c_str());
    const auto outcome = RunVerb({"use", "--default"});
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("note: where the variable ORVAN_SIM_TOPOLOGY is set, as here, it comes first\n", outcome.err);
}

TEST_F(SimctlVerbs, SetChangesOneValue) {
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    const auto outcome = RunVerb({"set", "/adapters/0/port/state", "6"});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ(Name("good.json") + ": /adapters/0/port/state: 2 -> 6\n", outcome.out);
    std::string expected = GOOD;
    expected.replace(expected.find("\"state\": 2"), 10, "\"state\": 6");
    EXPECT_EQ(expected, Text("good.json"));
}

TEST_F(SimctlVerbs, SetTakesWhatIsNoJsonAsAText) {
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    EXPECT_EQ(0, RunVerb({"set", "/adapters/0/display_name", "Lab adapter"}).code);
    EXPECT_EQ("Lab adapter", sim::LoadConfiguredTopology().adapters[0].displayName);
}

TEST_F(SimctlVerbs, SetTakesNegativeNumbersAddsAndRemoves) {
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    EXPECT_EQ(0, RunVerb({"set", "/adapters/0/statistics", "{\"lip_count\": 5}"}).code);
    EXPECT_EQ(0, RunVerb({"set", "/adapters/0/statistics/lip_count", "-1"}).code);
    EXPECT_EQ(-1, sim::LoadConfiguredTopology().adapters[0].statistics.values[5]);
    EXPECT_EQ(Name("good.json") + ": /adapters/0/vlans/-: nothing -> {\"id\":7}\n",
              RunVerb({"set", "/adapters/0/vlans/-", "{\"id\": 7}"}).out);
    EXPECT_EQ(0, RunVerb({"set", "/adapters/0/vlans/0", "null"}).code);
    EXPECT_EQ(7, sim::LoadConfiguredTopology().adapters[0].vlans.at(0).id);
}

TEST_F(SimctlVerbs, SetLeavesTheFileWhenItWouldBeWrong) {
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    const auto outcome = RunVerb({"set", "/adapters/0/port/state", "up"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ(Name("good.json") +
                  ": /adapters/0/port/state: expected a number from 0 to 4294967295, found \"up\"; the numbers "
                  "are 1 unknown, 2 online, 3 offline, 4 bypassed, 5 diagnostics, 6 link down, 7 error, 8 "
                  "loopback\nnot changed\n",
              outcome.err);
    EXPECT_EQ(1, RunVerb({"set", "/adapters/5/port/state", "3"}).code);
    EXPECT_EQ(1, RunVerb({"set", "/adapters/x/y", "3"}).code);
    EXPECT_EQ(GOOD, Text("good.json"));
    EXPECT_EQ(2, std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator())); // no copy left
}

TEST_F(SimctlVerbs, SetMendsAValueButNoSyntax) {
    EXPECT_EQ(1, RunVerb({"set", "--file", Name("bad.json"), "/faults", "[]"}).code); // x is still there
    EXPECT_EQ(0, RunVerb({"set", "--file", Name("bad.json"), "", "{\"faults\": [], \"x\": null}"}).code);
    EXPECT_EQ(0, RunVerb({"check", Name("bad.json")}).code);
    Write("half.json", "{\"adapters\": [");
    const auto outcome = RunVerb({"set", "--file", Name("half.json"), "/os_dcb", "true"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_NE(std::string::npos, outcome.err.find("mend it first\nnot changed\n"));
}

TEST_F(SimctlVerbs, SetCannotChangeTheBuiltInTopology) {
    const auto outcome = RunVerb({"set", "/os_dcb", "true"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ(
        "built-in topology: cannot be changed; make a file of it with \"simctl default\" and take it into use with "
        "\"simctl use\"\nnot changed\n",
        outcome.err);
}

TEST_F(SimctlVerbs, ShowTellsWhatIsInUseAndWhy) {
    EXPECT_EQ("built_in", ordered_json::parse(RunVerb({"show", "--json"}).out)["source"]);
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    WriteState(StateName("good.json"), PORTS);
    const auto text = RunVerb({"show"});
    EXPECT_EQ(0, text.code);
    EXPECT_EQ("topology    " + Name("good.json") +
                  "\nchosen by   the registry value Topology\n"
                  "content     1 adapters, 0 logical units, 0 faults; 1 warning, see simctl check\n"
                  "adapter     {11111111-2222-4333-8444-555555555501} ORVAN FCoE Adapter 1: 0 targets, 0 logical "
                  "units, 1 VLANs\n"
                  "state       " +
                  Name("state.json") +
                  "\ncreated     20:02:02:05:7C:00:00:01 0x010A02 of {11111111-2222-4333-8444-555555555501}\n"
                  "removed     20:01:02:05:7C:00:00:01 of {11111111-2222-4333-8444-555555555501}\n"
                  "calls       not logged\n",
              text.out);
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", Path("bad.json").c_str());
    const auto document = RunVerb({"show", "--json"});
    EXPECT_EQ(1, document.code);
    EXPECT_EQ("variable", ordered_json::parse(document.out)["source"]);
    EXPECT_EQ(2u, ordered_json::parse(document.out)["topology"]["errors"].size());
    EXPECT_EQ(1, RunVerb({"show"}).code);
}

TEST_F(SimctlVerbs, ShowTellsTheStateOfTheTopologyInUseOnly) {
    WriteState("built-in topology", PORTS);
    EXPECT_EQ(1u, ordered_json::parse(RunVerb({"show", "--json"}).out)["state"]["removed"].size());
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    EXPECT_EQ(0u, ordered_json::parse(RunVerb({"show", "--json"}).out)["state"]["removed"].size());
}

TEST_F(SimctlVerbs, ShowTellsWhatEachProcessSees) {
    EXPECT_EQ(ordered_json::array(), ordered_json::parse(RunVerb({"show", "--json"}).out)["processes"]);
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", Path("good.json").c_str());
    SetEnvironmentVariableW(L"ORVAN_SIM_CALLS", Path("calls.txt").c_str());
    const LoadedLibrary library;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_InitializeLibrary)());
    const auto before = ordered_json::parse(RunVerb({"show", "--json"}).out);
    EXPECT_LT(0u, before["topology_version"]);
    ASSERT_EQ(ordered_json({{{"process", GetCurrentProcessId()},
                             {"program", "simulator_tests.exe"},
                             {"source", "variable"},
                             {"file", Name("good.json")},
                             {"topology_version", before["topology_version"]},
                             {"calls", Name("calls.txt")}}}),
              before["processes"]);
    const std::string line = "process     " + std::to_string(GetCurrentProcessId()) + " simulator_tests.exe: version " +
                             before["topology_version"].dump() + " of " + Name("good.json") +
                             ", chosen by the variable ORVAN_SIM_TOPOLOGY";
    EXPECT_TRUE(RunVerb({"show"}).out.ends_with(line + "\n"));

    Write("good.json", "{");
    const auto nobodyHasLooked = ordered_json::parse(RunVerb({"show", "--json"}).out);
    EXPECT_FALSE(nobodyHasLooked["topology"]["good"]);
    EXPECT_EQ(before["processes"], nobodyHasLooked["processes"]);
    const std::string error = NEED_FUNCTION(library, OrvanSim_ReloadTopology)();
    const auto wrong = RunVerb({"show"});
    EXPECT_EQ(1, wrong.code);
    EXPECT_NE(std::string::npos,
              wrong.out.find("content     wrong: the last good one stays in use: 1 adapters, 0 logical units, 0 "
                             "faults\nadapter     {11111111-2222-4333-8444-555555555501} "))
        << wrong.out;
    EXPECT_TRUE(wrong.out.ends_with(line + "; " + error + "\n")) << wrong.out;
    const auto document = ordered_json::parse(RunVerb({"show", "--json"}).out);
    EXPECT_TRUE(document["last_good_in_use"]);
    EXPECT_EQ(1u, document["adapters"].size());
    EXPECT_EQ(error, document["processes"][0]["error"]);
    EXPECT_TRUE(document["processes"][0]["last_good_in_use"]);

    EXPECT_NE(nullptr, NEED_FUNCTION(library, OrvanSim_LoadTopology)("{}"));
    const std::string text = RunVerb({"show"}).out;
    EXPECT_NE(std::string::npos,
              text.find(" of a text, chosen by the process itself; every simulated function fails: topology text: "))
        << text;
    NEED_FUNCTION(library, OrvanSim_ReloadTopology)();
}

TEST_F(SimctlVerbs, ShowSaysThatTheStateIsWrong) {
    Write("state.json", "{\"built-in topology\": 5, \"another\": 6}");
    const auto outcome = RunVerb({"show"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ(Name("state.json") + ": /built-in topology: expected an object, found 5\n", outcome.err);
}

TEST_F(SimctlVerbs, ResetForgetsPorts) {
    EXPECT_EQ("nothing to forget: no virtual port was created or removed\n", RunVerb({"reset"}).out);
    WriteState("built-in topology", PORTS);
    EXPECT_EQ("forgotten: 1 created and 1 removed virtual ports, " + Name("state.json") + "\n", RunVerb({"reset"}).out);
    EXPECT_FALSE(fs::exists(Path("state.json")));
    Write("state.json", "half");
    EXPECT_EQ("forgotten: a state file that was wrong, " + Name("state.json") + "\n", RunVerb({"reset"}).out);
    EXPECT_FALSE(fs::exists(Path("state.json")));
}

TEST_F(SimctlVerbs, ResetLeavesWhatBelongsToOtherTopologies) {
    WriteState("built-in topology", PORTS);
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    EXPECT_EQ("nothing to forget: no virtual port was created or removed\n", RunVerb({"reset"}).out);
    auto states = nlohmann::json::parse(Text("state.json"));
    states[StateName("good.json")] = states["built-in topology"];
    Write("state.json", states.dump());
    EXPECT_EQ(0, RunVerb({"reset"}).code);
    states.erase(StateName("good.json"));
    EXPECT_EQ(states, nlohmann::json::parse(Text("state.json")));
}

TEST_F(SimctlVerbs, CallsAreFiltered) {
    Write("calls.txt",
          "2026-11-22 23:45:01.123 100 200 orvanhapi.dll v3 ORVAN_GetTargetList handle=1 count=1 -> 7 count=3\r\n"
          "2026-11-22 23:45:01.124 100 201 CoreAgnt.dll v3 StartLock owner=5 -> 0\r\n"
          "2026-11-22 23:45:01.125 101 202 orvanhapi.dll v3 ORVAN_GetVlanIdList throws\r\n"
          "2026-11-22 23:45:01.126 101 202 orvanhapi.dll v3 topology error: x\r\n");
    const auto lines = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"calls", Name("calls.txt")});
        const auto outcome = RunVerb(arguments);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        return std::count(outcome.out.begin(), outcome.out.end(), '\n');
    };
    EXPECT_EQ(4, lines({}));
    EXPECT_EQ(1, lines({"--function", "StartLock"}));
    EXPECT_EQ(2, lines({"--function", "StartLock", "--function", "ORVAN_GetVlanIdList"}));
    EXPECT_EQ(3, lines({"--module", "OrvanHapi"}));
    EXPECT_EQ(3, lines({"--module", "orvanhapi.dll"}));
    EXPECT_EQ(2, lines({"--process", "101"}));
    EXPECT_EQ(1, lines({"--process", "101", "--last", "1"}));
    EXPECT_EQ(0, lines({"--process", "200"}));
}

TEST_F(SimctlVerbs, CallsOfALogWithoutPlacesAreFilteredByFunction) {
    EXPECT_EQ("StartLock", simctl::ParseCallLine("StartLock owner=5 -> 0").function);
    EXPECT_EQ("", simctl::ParseCallLine("StartLock owner=5 -> 0").module);
    EXPECT_EQ(std::nullopt, simctl::ParseCallLine("reserved slot 12").process);
}

TEST_F(SimctlVerbs, CallsSayWhatIsMissing) {
    EXPECT_EQ("no calls are logged: set the variable ORVAN_SIM_CALLS to a file's name for the host, or the registry "
              "value Calls of HKLM\\SOFTWARE\\ORVAN\\Simulator for all\n",
              RunVerb({"calls"}).err);
    EXPECT_EQ("no simulated function is called \"StartLok\"; did you mean \"StartLock\"?\n",
              RunVerb({"calls", "--function", "StartLok"}).err);
    EXPECT_EQ(1, RunVerb({"calls", Name("none.txt")}).code);
}

TEST_F(SimctlVerbs, WatchTellsEachChange) {
    m_hive.Set(KEY, L"Topology", Path("good.json"));
    Outcome outcome;
    std::atomic<bool> ended{false};
    std::thread watching([&] {
        outcome.code = simctl::Run(outcome, {"watch", "--interval", "0.01", "--changes", "1"});
        ended = true;
    });
    // Before the first look or after it: either way there is one change to see.
    for (int state = 3; state < 1000 && !ended; ++state) {
        std::string text = GOOD;
        Write("next.json", text.replace(text.find("\"state\": 2"), 10, "\"state\": " + std::to_string(state)));
        MoveFileExW(Path("next.json").c_str(), Path("good.json").c_str(), MOVEFILE_REPLACE_EXISTING);
        Sleep(10);
    }
    watching.join();
    EXPECT_EQ(0, outcome.code);
    EXPECT_NE(std::string::npos, outcome.out.find(", chosen by the registry value Topology\n")) << outcome.out;
    EXPECT_NE(std::string::npos, outcome.out.find("/adapters/0/port/state: ")) << outcome.out;
}

TEST_F(SimctlVerbs, WatchTellsWhatProcessesSee) {
    SetEnvironmentVariableW(L"ORVAN_SIM_TOPOLOGY", Path("good.json").c_str());
    const LoadedLibrary library;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_InitializeLibrary)());
    Outcome outcome;
    std::atomic<bool> ended{false};
    std::thread watching([&] {
        outcome.code = simctl::Run(outcome, {"watch", "--interval", "0.01", "--changes", "1"});
        ended = true;
    });
    // The file stays as it is: the version alone has changed.
    for (int i = 0; i < 1000 && !ended; ++i) {
        NEED_FUNCTION(library, OrvanSim_LoadTopology)(GOOD);
        Sleep(10);
    }
    Write("good.json", "{}"); // if nothing was seen so far, this is
    watching.join();
    NEED_FUNCTION(library, OrvanSim_ReloadTopology)();
    const std::string process = "process " + std::to_string(GetCurrentProcessId()) + " simulator_tests.exe: version ";
    const auto first = outcome.out.find(process);
    ASSERT_NE(std::string::npos, first) << outcome.out;
    EXPECT_NE(std::string::npos, outcome.out.find(process, first + 1)) << outcome.out;
    EXPECT_NE(std::string::npos, outcome.out.find(" of a text, chosen by the process itself\n")) << outcome.out;
}

TEST_F(SimctlVerbs, FunctionsTellTheirModule) {
    const auto rows = ordered_json::parse(RunVerb({"functions", "--json"}).out)["functions"];
    ASSERT_EQ(84u, rows.size());
    EXPECT_EQ(
        ordered_json::parse(R"({"function": "HBA_RegisterLibraryV2", "module": "the vendor library", "adapter": false,
        "result": "status", "can_be_missing": true})"),
        rows[0]);
}

TEST_F(SimctlVerbs, MistakesOnTheCommandLine) {
    EXPECT_EQ("simctl: there is no verb \"chek\"; did you mean \"check\"?\n", RunVerb({"chek"}).err);
    EXPECT_EQ("simctl: simctl check has no option \"--strikt\"; did you mean \"--strict\"?\n",
              RunVerb({"check", "--strikt"}).err);
    EXPECT_EQ("simctl: a verb is missing; see simctl --help\n", RunVerb({}).err);
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {}, {"chek"}, {"check", "--strikt"}, {"set", "/x"}, {"watch", "--interval", "x"}, {"default", "x"}}) {
        const auto outcome = RunVerb(arguments);
        EXPECT_EQ(2, outcome.code);
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ(1, std::count(outcome.err.begin(), outcome.err.end(), '\n')) << outcome.err;
    }
}

TEST_F(SimctlVerbs, HelpOfEachVerb) {
    const std::string help = RunVerb({"--help"}).out;
    for (const char* verb :
         {"check", "use", "show", "set", "reset", "watch", "calls", "functions", "default", "schema"}) {
        EXPECT_NE(std::string::npos, help.find(std::string("  ") + verb)) << verb;
        EXPECT_EQ(0, RunVerb({verb, "--help"}).code) << verb;
    }
}

TEST_F(SimctlVerbs, SetupAndRemoveLeaveAnotherInstallationAlone) {
    constexpr wchar_t FCOE_AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
    constexpr wchar_t CORE_AGENT[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";
    for (const wchar_t* agent : {FCOE_AGENT, CORE_AGENT}) {
        m_hive.Set(agent, L"InstalledDir", Path("good.json")); // a file that is there
        const auto setup = RunVerb({"setup"});
        EXPECT_EQ(1, setup.code);
        EXPECT_EQ("\"" + Name("good.json") + "\" is registered on this machine: remove it first\n", setup.err);
        m_hive.Set(FCOE_AGENT, L"InstalledDir", Path("good.json"));
        EXPECT_EQ("\"" + Name("good.json") + "\" is registered on this machine, and not this suite\n",
                  RunVerb({"remove"}).err);
        m_hive.Delete(FCOE_AGENT, L"InstalledDir");
    }
    wchar_t text[10];
    DWORD size = sizeof text;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ORVAN\\Network_Services\\TOLV",
                                                 L"InstalledTOLV_FCOE", RRF_RT_REG_SZ, nullptr, text, &size));
}

TEST_F(SimctlVerbs, RemoveWithoutASuiteSaysSo) {
    const auto outcome = RunVerb({"remove"});
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ("no suite is set up on this machine\n", outcome.err);
}
