// fcoectl asks no adapter but the one that was named by its whole identifier.
#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/control/SimControl.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/SuiteHost.h"
#include "tools/fcoectl/Run.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class Captured : public fcoectl::Output {
  public:
    void Write(std::string_view text) override { out += text; }
    void WriteError(std::string_view text) override { out += text; }
    bool Failed() const override { return false; }

    std::string out;
};

// Two adapters; each call that concerns the second one takes four seconds.
constexpr char SICK_NEIGHBOUR[] = R"({"adapters": [
  {"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one",
   "mac": "00:1B:21:00:00:01",
   "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01"}, "vlans": [{"id": 101}]},
  {"identifier": "{11111111-2222-4333-8444-555555555502}", "display_name": "Adapter two",
   "mac": "00:1B:21:00:00:02",
   "port": {"node_wwn": "20:00:00:1B:21:00:00:02", "port_wwn": "20:01:00:1B:21:00:00:02"}, "vlans": [{"id": 102}]}],
 "faults": [
  {"function": "ORVAN_GetFCoEControllerInfo", "adapter": "{11111111-2222-4333-8444-555555555502}", "delay_ms": 4000},
  {"function": "GetAdapterAttributes", "adapter": "{11111111-2222-4333-8444-555555555502}", "delay_ms": 4000},
  {"function": "GetPortStatistics", "adapter": "{11111111-2222-4333-8444-555555555502}", "delay_ms": 4000}]})";

} // namespace

TEST(OneAdapter, NamedByItsIdentifierLetsNoOtherOneBeTouched) {
    SuiteHost host;
    host.Simulate(SICK_NEIGHBOUR);
    NEED_FUNCTION(host.Library(), OrvanSim_RecordCalls)(TRUE);
    for (const char* spelling : {"{11111111-2222-4333-8444-555555555501}", "11111111-2222-4333-8444-555555555501"}) {
        host.ResetCalls();
        Captured captured;
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(0, fcoectl::Run({"vlans", "--adapter", spelling}, captured));
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4))
            << "less than one call of the other";
        EXPECT_THAT(captured.out, HasSubstr("VLAN 101"));
        std::string calls(NEED_FUNCTION(host.Library(), OrvanSim_CallLog)(nullptr, 0), '\0');
        NEED_FUNCTION(host.Library(), OrvanSim_CallLog)(calls.data(), static_cast<unsigned>(calls.size()));
        EXPECT_THAT(calls, HasSubstr("{11111111-2222-4333-8444-555555555501}"));
        EXPECT_THAT(calls, Not(HasSubstr("{11111111-2222-4333-8444-555555555502}")));
    }
    NEED_FUNCTION(host.Library(), OrvanSim_RecordCalls)(FALSE);
}
