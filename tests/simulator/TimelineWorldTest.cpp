// A world that moves, for all its processes, and simctl in it.
#include <atomic>
#include <fstream>
#include <thread>

#include "FcoeAgent/CoreAgentPvt.h"
#include "simulator/simctl/OneMoment.h"
#include "simulator/simctl/Run.h"
#include "simulator/topology/Text.h"
#include "tests/kit/ImportPatch.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"
#include "tests/simulator/LoadedLibrary.h"
#include "tests/simulator/Moving.h"

namespace {

constexpr wchar_t TOPOLOGY[] = L"ORVAN_SIM_TOPOLOGY";
constexpr wchar_t INSTANCE[] = L"ORVAN_SIM_INSTANCE";
constexpr wchar_t EVENT[] = L"FCOE_TEST_EVENT";
constexpr char OF_VLANS[] = R"(, "function": "ORVAN_GetVlanIdList")";
constexpr char VLAN[] = "/adapters/0/vlans/0/id";
constexpr unsigned CALLS = 3000;

unsigned VlanOf(HMODULE library, HBA_HANDLE handle) {
    ORVAN_VLAN_LIST list{};
    list.NumberOfEntries = 1;
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library, ORVAN_GetVlanIdList)(handle, &list));
    return list.entry[0] & 0xFFFF;
}

// The VLAN and the adapter's interface change in one step, which this process or another takes. How many calls came
// before it.
unsigned CallsBefore(HMODULE library, HBA_HANDLE handle) {
    const HMODULE core = LoadLibraryW(L"CoreAgnt.dll");
    const auto agent = NEED_FUNCTION(core, GetCoreAgentPvt)();
    unsigned calls = 0;
    while (VlanOf(library, handle) == 1) {
        if (++calls % 50 == 0)
            Sleep(1); // the other process's turn
    }
    QEL_ADAPTER_INFO info;
    agent->GetAdapterInfo(L"{11111111-2222-4333-8444-555555555501}", info, 0);
    EXPECT_EQ(2u, info.ulInterfaceIndex) << "in all modules";
    FreeLibrary(core);
    return calls;
}

struct Outcome : simctl::Console {
    void Out(std::string_view text) override { out += text; }
    void Err(std::string_view text) override { err += text; }

    int code = -1;
    std::string out;
    std::string err;
};

// For a verb that another thread runs.
struct AwaitedOutcome : Outcome {
    void Out(std::string_view text) override {
        Outcome::Out(text);
        hasWritten = true;
    }

    std::atomic<bool> hasWritten{false};
};

Outcome RunVerb(const std::vector<std::string>& arguments) {
    Outcome outcome;
    outcome.code = simctl::Run(outcome, arguments);
    return outcome;
}

PHANDLER_ROUTINE g_interrupt = nullptr;
BOOL WINAPI NoteHandler(PHANDLER_ROUTINE handler, BOOL add) {
    g_interrupt = add ? handler : nullptr;
    return TRUE;
}

class MovingWorld : public testing::Test {
  protected:
    MovingWorld() {
        SetEnvironmentVariableW(INSTANCE, (L"moving" + std::to_wstring(GetCurrentProcessId())).c_str());
        SetEnvironmentVariableW(TOPOLOGY, (folder.Path() / L"world.json").c_str());
    }
    ~MovingWorld() override {
        for (const auto* variable : {TOPOLOGY, INSTANCE, EVENT})
            SetEnvironmentVariableW(variable, nullptr);
    }

    std::string Name(const char* file) const { return sim::Utf8((folder.Path() / file).wstring()); }
    void Write(const char* file, const std::string& text) const { std::ofstream(folder.Path() / file) << text; }
    std::string ShownTimeline() const {
        const auto show = RunVerb({"show"}).out;
        const auto at = show.find("timeline    ");
        return at == std::string::npos ? "" : show.substr(at + 12, show.find('\n', at) - at - 12);
    }

    TempFolder folder;
};

} // namespace

TEST_F(MovingWorld, TwoProcessesChangeAtOneMoment) {
    Write("world.json", MovingAdapter(AfterCalls(
                            CALLS, Replace(VLAN, "2") + "," + Add("/adapters/0/interface_index", "2"), OF_VLANS)));
    const std::wstring name = L"FcoeTestMoving" + std::to_wstring(GetCurrentProcessId());
    const HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, (name + L"-ready").c_str());
    const HANDLE go = CreateEventW(nullptr, TRUE, FALSE, (name + L"-go").c_str());
    SetEnvironmentVariableW(EVENT, name.c_str());
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION child{};
    ASSERT_TRUE(StartProcess(L'"' + ProgramFile().wstring() +
                                 L"\" --gtest_also_run_disabled_tests --gtest_filter=OtherMovingWorld.DISABLED_Counts",
                             false, start, child));
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(ready, 60000));
    SetEvent(go);
    const unsigned own = CallsBefore(library, handle);
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(child.hProcess, 60000));
    DWORD others = 0;
    GetExitCodeProcess(child.hProcess, &others);
    EXPECT_LT(0u, own);
    EXPECT_LT(0u, others);
    EXPECT_EQ(CALLS, own + others) << "exactly as many as the step waits for, over both";
    for (const HANDLE one : {ready, go, child.hThread, child.hProcess})
        CloseHandle(one);
}

TEST(OtherMovingWorld, DISABLED_Counts) {
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    wchar_t name[64];
    GetEnvironmentVariableW(EVENT, name, 64);
    const HANDLE ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, (std::wstring(name) + L"-ready").c_str());
    const HANDLE go = OpenEventW(SYNCHRONIZE, FALSE, (std::wstring(name) + L"-go").c_str());
    SetEvent(ready);
    WaitForSingleObject(go, 60000);
    ExitProcess(CallsBefore(library, handle));
}

TEST_F(MovingWorld, AChangedFileStartsAtItsBeginning) {
    Write("world.json", MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    const auto Rescan = [&] { NEED_FUNCTION(library, ORVAN_RescanScsiBus)(handle, 0xFFFFFFFF); };
    EXPECT_EQ(1u, VlanOf(library, handle));
    Rescan();
    EXPECT_EQ(2u, VlanOf(library, handle)) << "the file is as it was";
    Write("world.json", MovingAdapter(AfterCalls(2, Replace(VLAN, "3"), OF_VLANS)));
    Rescan();
    for (const unsigned expected : {1u, 1u, 3u})
        EXPECT_EQ(expected, VlanOf(library, handle));
    Write("world.json", "{");
    Rescan();
    EXPECT_EQ(3u, VlanOf(library, handle)) << "the last good one stays where it was";
}

TEST_F(MovingWorld, ReloadAndResetStartItAnew) {
    Write("world.json", MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(1u, VlanOf(library, handle));
        EXPECT_EQ(2u, VlanOf(library, handle));
        EXPECT_EQ(nullptr, NEED_FUNCTION(library, OrvanSim_ReloadTopology)());
    }
    EXPECT_EQ(1u, VlanOf(library, handle));
    EXPECT_EQ("started anew: 1 step had been taken\nnothing to forget: no virtual port was created or removed\n",
              RunVerb({"reset"}).out);
    EXPECT_EQ(1u, VlanOf(library, handle));
    EXPECT_EQ(2u, VlanOf(library, handle));
}

TEST_F(MovingWorld, ShowTellsWhichStepIsNextAndMovesOnByItself) {
    Write("world.json", MovingAdapter(AfterCalls(2, Replace(VLAN, "2"), OF_VLANS) + "," +
                                      AfterSeconds("1.5", Add("/adapters/0/vlans/-", R"({"id": 3})"))));
    EXPECT_EQ("2 steps, the first 2 calls of ORVAN_GetVlanIdList after a process has taken it up", ShownTimeline());
    EXPECT_EQ(2, nlohmann::json::parse(RunVerb({"show", "--json"}).out)["timeline"]["next_after"]["calls"]);
    const LoadedLibrary library;
    const MovedTicks inLibrary(library), here(nullptr);
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(1u, VlanOf(library, handle));
    EXPECT_EQ("0 of 2 steps taken, the next after 1 more call of ORVAN_GetVlanIdList", ShownTimeline());
    EXPECT_EQ(1u, VlanOf(library, handle));
    EXPECT_EQ("1 of 2 steps taken, the next in 1.5 s", ShownTimeline());
    MovedTicks::Advance(1499);
    EXPECT_EQ("1 of 2 steps taken, the next in 0.001 s", ShownTimeline());
    MovedTicks::Advance(1);
    const auto show = nlohmann::json::parse(RunVerb({"show", "--json"}).out);
    EXPECT_EQ(nlohmann::json::parse(R"({"steps": 2, "taken": 2, "started": true})"), show["timeline"]);
    EXPECT_EQ(2, show["adapters"][0]["vlans"]) << "what the modules show";
    EXPECT_EQ("2 of 2 steps taken", ShownTimeline());
}

TEST_F(MovingWorld, WatchTellsWhatAStepChanges) {
    Write("world.json", MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    AwaitedOutcome watch;
    std::thread watching([&] { watch.code = simctl::Run(watch, {"watch", "--interval", "0.01", "--changes", "1"}); });
    while (!watch.hasWritten) // what it found
        Sleep(1);
    VlanOf(library, handle);
    watching.join();
    EXPECT_NE(std::string::npos, watch.out.find("; 1 of 1 step taken\n")) << watch.out;
    EXPECT_NE(std::string::npos, watch.out.find("/adapters/0/vlans/0/id: 1 -> 2\n")) << watch.out;
    EXPECT_EQ(std::string::npos, watch.out.find("/timeline")) << watch.out;
}

TEST_F(MovingWorld, AStepThatIsTakenMeanwhileHasAllReadAgain) {
    Write("world.json", MovingAdapter(AfterCalls(1, Replace(VLAN, "2"), OF_VLANS)));
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    unsigned reads = 0;
    const auto taken = simctl::OfOneMoment([&](const std::optional<sim::TimelineStatus>& timeline) {
        if (++reads == 1)
            VlanOf(library, handle);
        return timeline->taken;
    });
    EXPECT_EQ(2u, reads);
    EXPECT_EQ(1u, taken);
}

TEST_F(MovingWorld, AScriptIsPlayed) {
    Write("world.json", "// a lab\n" + MovingAdapter(AfterSeconds("600", Replace(VLAN, "9"))));
    Write("script.json", "[" + AfterCalls(2, Replace(VLAN, "2"), OF_VLANS) + "," +
                             AfterCalls(1, Replace(VLAN, "3"), OF_VLANS) + "] // and back");
    const auto before = sim::ReadFile(folder.Path() / L"world.json");
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    EXPECT_EQ(1u, VlanOf(library, handle));
    Outcome script;
    std::thread playing([&] { script.code = simctl::Run(script, {"script", Name("script.json")}); });
    std::vector<unsigned> seen;
    while (seen.empty() || seen.back() != 3) {
        seen.push_back(VlanOf(library, handle));
        Sleep(1);
    }
    playing.join();
    ASSERT_LE(4u, seen.size());
    EXPECT_EQ((std::vector<unsigned>{1, 1, 2, 3}), std::vector<unsigned>(seen.end() - 4, seen.end()));
    EXPECT_EQ(0, script.code);
    EXPECT_TRUE(script.out.starts_with("playing 2 steps in " + Name("world.json") + "\n")) << script.out;
    EXPECT_NE(std::string::npos, script.out.find("step 2 of 2 taken\nplayed; the world stays")) << script.out;
    EXPECT_EQ("note: 1 step that the world waited for will not be taken\n", script.err);
    EXPECT_EQ("2 of 2 steps of " + Name("script.json") + " taken", ShownTimeline());
    EXPECT_EQ(before, sim::ReadFile(folder.Path() / L"world.json"));
    NEED_FUNCTION(library, ORVAN_RescanScsiBus)(handle, 0xFFFFFFFF);
    EXPECT_EQ(3u, VlanOf(library, handle)) << "the file is as it was";
}

TEST_F(MovingWorld, AScriptIsRefusedWithItsPlace) {
    Write("world.json", MovingAdapter(""));
    Write("list.json", "[\n" + AfterCalls(1, Replace("/adapters/3/mac", "2")) + "]");
    Write("object.json", "{\"timeline\": [" + AfterCalls(1, Replace(VLAN, "70000")) + "]}");
    Write("topology.json", MovingAdapter(AfterCalls(1, "")));
    Write("empty.json", "[]");
    const auto Refusal = [&](const char* file) {
        const auto outcome = RunVerb({"script", Name(file)});
        EXPECT_EQ(1, outcome.code);
        EXPECT_EQ("", outcome.out);
        EXPECT_TRUE(outcome.err.ends_with("\nnot played\n")) << outcome.err;
        return outcome.err.substr(0, outcome.err.find('\n'));
    };
    EXPECT_EQ(Name("list.json") +
                  ":2:30: /0/patch/0: cannot be applied: nothing is at /adapters/3/mac; \"add\" adds it, "
                  "or replaces it if it is there",
              Refusal("list.json"));
    EXPECT_EQ(Name("object.json") +
                  ":1:44: /timeline/0/patch/0: leaves a wrong topology: /adapters/0/vlans/0/id: expected "
                  "a number from 0 to 65535, found 70000",
              Refusal("object.json"));
    EXPECT_EQ(Name("topology.json") + ":1:2: /: unknown key \"adapters\"", Refusal("topology.json"));
    EXPECT_EQ(Name("empty.json") + ": there is no step in it", Refusal("empty.json"));
    EXPECT_TRUE(Refusal("none.json").starts_with(Name("none.json") + ": cannot be read: error 2"));
    Write("world.json", "{}");
    EXPECT_EQ(Name("world.json") + ": /: the key \"adapters\" is missing", Refusal("list.json"));
}

TEST_F(MovingWorld, AScriptEndsWhenTheTopologyIsAnother) {
    Write("world.json", MovingAdapter(""));
    Write("script.json", "[" + AfterSeconds("0.01", Replace(VLAN, "2")) + "," + AfterSeconds("600", "") + "]");
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    Outcome script;
    std::thread playing([&] { script.code = simctl::Run(script, {"script", Name("script.json")}); });
    while (VlanOf(library, handle) == 1)
        Sleep(1);
    Sleep(150); // it has told of the step, or does not
    Write("world.json", MovingAdapter(AfterCalls(5, "")));
    NEED_FUNCTION(library, ORVAN_RescanScsiBus)(handle, 0xFFFFFFFF);
    playing.join();
    EXPECT_EQ(1, script.code);
    EXPECT_NE(std::string::npos, script.err.find(" was changed from elsewhere after ")) << script.err;
    EXPECT_EQ(1u, VlanOf(library, handle));
}

TEST_F(MovingWorld, AnInterruptedScriptTakesNoMoreSteps) {
    Write("world.json", MovingAdapter(""));
    Write("script.json", "[" + AfterSeconds("0.01", Replace(VLAN, "2")) + "," + AfterCalls(100000, "") + "]");
    const LoadedLibrary library;
    const HBA_HANDLE handle = library.Open();
    const ImportPatch handler(nullptr, "KERNEL32.dll", "SetConsoleCtrlHandler", reinterpret_cast<void*>(&NoteHandler));
    Outcome script;
    std::thread playing([&] { script.code = simctl::Run(script, {"script", Name("script.json")}); });
    while (VlanOf(library, handle) == 1)
        Sleep(1);
    g_interrupt(CTRL_C_EVENT);
    playing.join();
    EXPECT_EQ(1, script.code);
    EXPECT_EQ("stopped after 1 of 2 steps; the world stays as it is now\n", script.err);
    EXPECT_EQ("1 of 1 step of " + Name("script.json") + " taken", ShownTimeline());
    EXPECT_EQ(2u, VlanOf(library, handle));
}
