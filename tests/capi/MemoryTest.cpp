// Memory that runs out: each allocation of the interface, the agent and the C++ run time in turn, every so many of
// them, alone or with all after it. The call ends with a status, and what it says is so; the next one works.
#include <functional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/capi/CSession.h"
#include "tests/capi/CapiHost.h"
#include "tests/faults/Allocations.h"
#include "tests/kit/CrashReport.h"
#include "tests/kit/MovedClock.h"
#include "tests/kit/ProgramFolder.h"

namespace {

constexpr DWORD EVERYTHING_IS_OLD = 1000; // milliseconds
constexpr wchar_t PORT[] = L"20:05:02:05:7C:00:00:01";
constexpr std::size_t UNITS = 24;

// One call of the interface. What came of it: a status, whether the host got what belongs to it.
struct Called {
    fcoe_status status = FCOE_FAILED;
    bool hasResult = false;
    bool hasMessage = false;
};

struct Call {
    const char* name;
    std::function<Called(fcoe_session* session)> run;
    std::function<void(fcoe_session* session)> prepare = [](fcoe_session*) {};
};

void PrintTo(const Call& call, std::ostream* stream) {
    *stream << call.name;
}

// Takes a message over without memory.
bool Take(fcoe_char* message) {
    const bool has = message && *message;
    fcoe_free(message);
    return has;
}

Called List(fcoe_session* session, fcoe_kind kind, const fcoe_char* adapter) {
    fcoe_list* list = nullptr;
    fcoe_char* message = nullptr;
    Called called;
    called.status = fcoe_enumerate(session, kind, adapter, 0, &list, &message);
    called.hasResult = list != nullptr;
    fcoe_list_free(list);
    called.hasMessage = Take(message);
    return called;
}

Called Json(fcoe_session* session, fcoe_kind kind) {
    char* json = nullptr;
    fcoe_char* message = nullptr;
    Called called;
    called.status = fcoe_enumerate_json(session, kind, nullptr, 0, &json, &message);
    called.hasResult = json != nullptr;
    fcoe_free(json);
    called.hasMessage = Take(message);
    return called;
}

Called CreatePort(fcoe_session* session, const wchar_t* name = PORT) {
    fcoe_char wwpn[UNITS];
    std::copy_n(name, std::char_traits<wchar_t>::length(name) + 1, wwpn);
    fcoe_char* message = nullptr;
    fcoe_list* errors = nullptr;
    Called called;
    called.status = fcoe_vport_create(session, FIRST, wwpn, 5, &errors, &message);
    called.hasResult = errors != nullptr;
    fcoe_list_free(errors);
    called.hasMessage = Take(message);
    return called;
}

Called DeletePort(fcoe_session* session) {
    fcoe_char* message = nullptr;
    fcoe_list* errors = nullptr;
    Called called;
    called.status = fcoe_vport_delete(session, FIRST, PORT, 5, &errors, &message);
    called.hasResult = errors != nullptr;
    fcoe_list_free(errors);
    called.hasMessage = Take(message);
    return called;
}

Called GenerateName(fcoe_session* session) {
    fcoe_char wwpn[UNITS] = {};
    fcoe_char* message = nullptr;
    Called called;
    called.status = fcoe_generate_wwpn(session, FIRST, wwpn, &message);
    called.hasMessage = Take(message);
    return called;
}

Called Rescan(fcoe_session* session) {
    fcoe_char* message = nullptr;
    Called called;
    called.status = fcoe_refresh_targets(session, FIRST, &message);
    called.hasMessage = Take(message);
    return called;
}

Called OpenAnother(fcoe_session*) {
    fcoe_session* another = nullptr;
    fcoe_char* message = nullptr;
    Called called;
    called.status = fcoe_open(nullptr, 0, &another, &message);
    called.hasResult = another != nullptr;
    fcoe_close(another);
    called.hasMessage = Take(message);
    return called;
}

std::vector<Call> Calls() {
    const auto list = [](fcoe_kind kind) {
        return [kind](fcoe_session* session) { return List(session, kind, nullptr); };
    };
    return {
        {"hbas", list(FCOE_HBAS)},
        {"fabrics", list(FCOE_FABRICS)},
        {"ports", list(FCOE_PORTS)},
        {"targets", list(FCOE_TARGETS)},
        {"luns", list(FCOE_LUNS)},
        {"vlans", list(FCOE_VLANS)},
        {"statistics", list(FCOE_STATISTICS)},
        {"unknown", [](fcoe_session* session) { return List(session, FCOE_VLANS, NOBODY); }},
        {"json", [](fcoe_session* session) { return Json(session, FCOE_PORTS); }},
        {"create", [](fcoe_session* session) { return CreatePort(session); },
         [](fcoe_session* session) { DeletePort(session); }},
        {"refused", [](fcoe_session* session) { return CreatePort(session, L"none"); }},
        {"delete", DeletePort, [](fcoe_session* session) { CreatePort(session); }},
        {"generate", GenerateName},
        {"rescan", Rescan},
        {"open", OpenAnother},
    };
}

class ScarceMemory : public testing::TestWithParam<Call> {
  protected:
    CapiHost host;
};

std::string NameOf(const testing::TestParamInfo<Call>& info) {
    return info.param.name;
}

} // namespace

TEST_P(ScarceMemory, EndsInAStatus) {
    StartWatchdog(280);
    constexpr unsigned long long SAMPLES = 60;
    const Call& call = GetParam();
    const Session session = Open();
    const HMODULE agent = GetModuleHandleW(L"FcoeAgnt.dll");
    MovedClock clock(100000, agent);
    Allocations allocations(agent, GetModuleHandleW(L"FcoeAgntC.dll"));
    const auto run = [&](unsigned long long number, Allocations::Failing failing, Called& called) {
        call.prepare(session.get());
        clock.Advance(EVERYTHING_IS_OLD);
        return allocations.Watch([&] { called = call.run(session.get()); }, number, failing);
    };
    Called healthy;
    const auto count = run(0, Allocations::Failing::None, healthy).made;
    ASSERT_LT(0u, count);
    unsigned exhausted = 0;
    for (unsigned long long number = 1; number <= count; number += 1 + count / SAMPLES)
        for (const auto failing : {Allocations::Failing::One, Allocations::Failing::OneAndAllAfter}) {
            Called called;
            const auto use = run(number, failing, called);
            EXPECT_TRUE(use.failed || called.status == healthy.status) << number;
            EXPECT_THAT(called.status, testing::AnyOf(healthy.status, FCOE_NO_MEMORY, FCOE_INCOMPLETE)) << number;
            EXPECT_EQ(called.status != FCOE_OK, called.hasMessage) << number << ": " << called.status;
            EXPECT_EQ(called.hasResult, called.status == FCOE_NO_MEMORY ? false : healthy.hasResult) << number;
            exhausted += called.status == FCOE_NO_MEMORY;
            Called after;
            run(0, Allocations::Failing::None, after);
            EXPECT_EQ(healthy.status, after.status) << "after " << number;
        }
    EXPECT_LT(0u, exhausted);
}
INSTANTIATE_TEST_SUITE_P(All, ScarceMemory, testing::ValuesIn(Calls()), NameOf);

TEST(ScarceMemoryOfTheFirstSession, EndsInAStatus) {
    StartWatchdog(280);
    CapiHost host;
    Open().reset(); // what the system keeps once it was used
    // Held, so that its imports can be replaced while it comes and goes.
    const HMODULE agent = LoadLibraryW((ProgramFolder() / L"FcoeAgnt.dll").c_str());
    {
        Allocations allocations(agent, GetModuleHandleW(L"FcoeAgntC.dll"));
        Called healthy;
        const auto count = allocations.Watch([&] { healthy = OpenAnother(nullptr); }).made;
        EXPECT_EQ(FCOE_OK, healthy.status);
        for (unsigned long long number = 1; number <= count; ++number)
            for (const auto failing : {Allocations::Failing::One, Allocations::Failing::OneAndAllAfter}) {
                Called called;
                allocations.Watch([&] { called = OpenAnother(nullptr); }, number, failing);
                EXPECT_THAT(called.status, testing::AnyOf(FCOE_OK, FCOE_NO_MEMORY, FCOE_NOT_STARTED)) << number;
                EXPECT_EQ(called.status == FCOE_OK, called.hasResult) << number;
                EXPECT_EQ(called.status != FCOE_OK, called.hasMessage) << number;
                EXPECT_EQ(FCOE_OK, OpenAnother(nullptr).status) << "after " << number;
            }
    }
    FreeLibrary(agent);
}
