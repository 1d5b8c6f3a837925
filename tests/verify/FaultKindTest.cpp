// Each kind of fault that a topology can declare, in each function that is asked, is named.
#include <fstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/topology/FunctionTraits.h"
#include "simulator/topology/Functions.h"
#include "tests/kit/TempFolder.h"
#include "tests/kit/TestData.h"
#include "tests/verify/Asked.h"

namespace {

constexpr unsigned SLOW_MS = 8;
constexpr unsigned NOT_SLOW_MS = 5000;

// The handlers that the agent calls, and what it calls by reading.
constexpr std::string_view HANDLERS[] = {"CloseAdapter",      "GetAdapterAttributes", "GetAdapterPortAttributes",
                                         "GetPortStatistics", "GetFcpTargetMapping",  "ScsiInquiry",
                                         "ScsiReadCapacityV2"};
constexpr std::string_view NOT_READING[] = {
    "ORVAN_RescanScsiBus", "ORVAN_GeneratePortWWN", "ORVAN_CreateVPort", "ORVAN_RemoveVPort", "StartLock", "DoneLock"};

template <class List> bool Has(const List& list, std::string_view name) {
    return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

struct Named {
    std::string name;
    sim::FunctionTraits traits;

    bool IsCore() const { return traits.module == sim::Module::CoreAgent; }
    bool IsLookedUp() const { return !IsCore() || name == "GetCoreAgentPvt"; }
    bool IsRead() const { return !Has(NOT_READING, name); }
};

std::vector<Named> Functions() {
    std::vector<Named> functions;
    for (std::size_t i = 0; i < sim::FUNCTION_COUNT; ++i) {
        const Named function{std::string(sim::FUNCTION_NAMES[i]), sim::TraitsOf(i)};
        const bool asked =
            function.traits.module == sim::Module::Library || function.IsCore() || Has(HANDLERS, function.name);
        if (asked)
            functions.push_back(function);
    }
    return functions;
}

class FaultKinds : public testing::Test {
  protected:
    // What is told of the function in the built-in world with this fault.
    std::set<std::string> CodesOf(const Named& function, const std::string& fault, unsigned slowMs = NOT_SLOW_MS) {
        auto world = nlohmann::json::parse(ReadFileBytes(SourceFolder() / "simulator/topology/default.json"));
        auto declared = nlohmann::json::parse("{" + fault + "}");
        declared["function"] = function.name;
        world["faults"] = {declared};
        const auto file = m_folder.Path() / "world.json";
        std::ofstream(file, std::ios::binary) << world.dump();
        const Variable topology(L"ORVAN_SIM_TOPOLOGY", file.wstring());
        constexpr bool ALONE = true;
        const auto neighbour = function.IsCore() ? verify::Neighbour::CoreAgent : verify::Neighbour::Library;
        const auto asked = AskInProcess(neighbour, function.IsCore() ? L"CoreAgnt.dll" : L"orvanhapi.dll",
                                        BuiltInAdapters(), slowMs, ALONE);
        EXPECT_EQ(asked.deviations.empty(), asked.CodesOf(function.name).empty() && !IsRegistration(function));
        return asked.CodesOf(function.name);
    }
    void Expect(const Named& function, const std::string& fault, const std::set<std::string>& codes,
                unsigned slowMs = NOT_SLOW_MS) {
        EXPECT_EQ(codes, CodesOf(function, fault, slowMs)) << function.name << ": " << fault;
    }

  private:
    // What it did not do shows in the handlers.
    static bool IsRegistration(const Named& function) { return function.name == "HBA_RegisterLibraryV2"; }

    TempFolder m_folder;
};

using Codes = std::set<std::string>;

bool Shows(const Named& function, sim::Effect effect) {
    return (function.traits.effects & effect) != 0;
}

} // namespace

TEST_F(FaultKinds, Missing) {
    for (const Named& function : Functions()) {
        if (function.IsLookedUp())
            Expect(function, R"("missing": true)",
                   {function.traits.module == sim::Module::Handlers ? "no_handler" : "no_export"});
    }
}

TEST_F(FaultKinds, Throw) {
    for (const Named& function : Functions()) {
        if (function.IsRead())
            Expect(function, R"("throw": true)", {"exception"});
    }
}

TEST_F(FaultKinds, Delay) {
    for (const Named& function : Functions()) {
        if (function.IsRead())
            Expect(function, R"("delay_ms": 16)", {"slow"}, SLOW_MS);
    }
}

TEST_F(FaultKinds, Status) {
    for (const Named& function : Functions()) {
        if (!function.IsRead() || function.name == "CloseAdapter" || function.name == "WaitForApplyDone")
            continue; // nothing comes back from these
        Codes codes = {"status"};
        if (function.name == "ORVAN_GetFCoEControllerHandle")
            codes = {"no_handle"};
        if (function.name == "GetCoreAgentPvt")
            codes = {"no_interface"};
        // Any number but 0 is a yes, and what fits no byte is a no.
        Expect(function, function.name == "SupportsFcoe" ? R"("status": 256)" : R"("status": 1)",
               function.name == "SupportsFcoe" ? Codes{"no_adapter"} : codes);
    }
}

TEST_F(FaultKinds, SuccessWithoutWork) {
    const std::map<std::string, Codes> others = {
        {"HBA_RegisterLibraryV2", {}}, // its handlers are missing
        {"ORVAN_InitializeLibrary", {}},
        {"ORVAN_GetFCoEControllerInfo", {"no_name"}},
        {"ORVAN_GetFCoEControllerHandle", {"no_handle"}},
        {"GetCoreAgentPvt", {"no_interface"}},
        {"EnumerateAdapters", {"no_adapter"}},
        {"GetAdapterInfo", {"no_display_name", "other_adapter"}},
        {"SupportsFcoe", {"no_adapter"}},
        {"CloseAdapter", {}}, // told of the functions that a closed handle still opens
        {"WaitForApplyDone", {}},
    };
    for (const Named& function : Functions()) {
        if (!function.IsRead() || function.name == "CloseAdapter")
            continue;
        const auto other = others.find(function.name);
        Codes codes = {"not_written"};
        if (Shows(function, sim::SHOWS_COUNT))
            codes = {"entry_not_written"};
        if (other != others.end())
            codes = other->second;
        auto told = CodesOf(function, R"("status": 0)");
        told.erase("handle_0"); // a success for whatever handle
        told.erase("closed_handle");
        EXPECT_EQ(codes, told) << function.name;
    }
}

TEST_F(FaultKinds, TheSecondTime) {
    for (const Named& function : Functions()) {
        if (!function.IsRead() || function.name == "CloseAdapter" || function.name == "WaitForApplyDone" ||
            function.name == "ORVAN_GetFCoEControllerHandle")
            continue;
        // A yes is 1.
        Expect(function,
               function.name == "SupportsFcoe" ? R"("status": 0, "on_call": 2)" : R"("status": 1, "on_call": 2)",
               {"other_answer"});
    }
}

TEST_F(FaultKinds, Count) {
    for (const Named& function : Functions()) {
        if (!Shows(function, sim::SHOWS_COUNT))
            continue;
        EXPECT_TRUE(CodesOf(function, R"("count": 70)").contains("entry_not_written")) << function.name;
        EXPECT_TRUE(CodesOf(function, R"("count": 0)").contains("count_not_written")) << function.name;
        EXPECT_TRUE(CodesOf(function, R"("status": 7, "count": 3)").contains("retry")) << function.name;
        EXPECT_TRUE(CodesOf(function, R"("status": 7, "count": 4000000000)").contains("count_too_large"))
            << function.name;
        EXPECT_TRUE(CodesOf(function, R"("status": 0, "count": 3)").contains("no_more_data")) << function.name;
    }
}

TEST_F(FaultKinds, Garbage) {
    for (const Named& function : Functions()) {
        if (!function.IsRead() || !Shows(function, sim::SHOWS_GARBAGE))
            continue;
        EXPECT_FALSE(CodesOf(function, R"("garbage": true)").empty()) << function.name;
    }
}

TEST_F(FaultKinds, Unterminated) {
    for (const Named& function : Functions()) {
        if (Shows(function, sim::SHOWS_UNTERMINATED))
            Expect(function, R"("unterminated": true)", {"unterminated"});
    }
}

TEST_F(FaultKinds, Detail) {
    for (const Named& function : Functions()) {
        if (function.IsRead() && Shows(function, sim::SHOWS_DETAIL))
            Expect(function, R"("detail": 7)", {"detail"});
    }
}
