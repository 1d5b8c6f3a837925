#include "simulator/topology/FaultReader.h"

#include <limits>
#include <type_traits>

#include "simulator/topology/Functions.h"
#include "simulator/topology/Text.h"

namespace sim {

Fault ReadFault(const JsonValue& value, const Topology& topology) {
    JsonObject object(value);
    Fault fault;
    const auto function = object.Require("function");
    const std::string name = function.Text();
    fault.function = FunctionIndex(name);
    if (fault.function == FUNCTION_COUNT) {
        const auto nearest = NearestWord(name, {FUNCTION_NAMES.begin(), FUNCTION_NAMES.end()});
        function.FailExpected("the name of a simulated function" +
                              (nearest.empty() ? std::string() : " such as \"" + nearest + "\""));
    }
    if (const auto adapter = object.Find("adapter")) {
        const Adapter* found = topology.FindAdapter(Wide(adapter->Text()));
        if (!found)
            adapter->FailExpected("the identifier of an adapter of this topology");
        fault.adapter = found->index;
    }
    const auto number = [&object](const char* key, auto& target) {
        using T = typename std::remove_reference_t<decltype(target)>::value_type;
        if (const auto found = object.Find(key))
            target = static_cast<T>(found->Unsigned(0, std::numeric_limits<T>::max()));
    };
    number("status", fault.status);
    if (const auto hresult = object.Find("hresult")) {
        if (fault.status)
            hresult->Fail("a fault has either a \"status\" or an \"hresult\"");
        number("hresult", fault.status);
    }
    number("detail", fault.detail);
    number("count", fault.count);
    number("lock_taken", fault.lockTaken);
    if (const auto onCall = object.Find("on_call")) {
        fault.onCall = static_cast<std::uint32_t>(onCall->Unsigned(1, UINT32_MAX));
        fault.times = 1;
    }
    if (const auto times = object.Find("times"))
        fault.times = static_cast<std::uint32_t>(times->Unsigned(1, UINT32_MAX));
    object.ReadNumber("delay_ms", fault.delayMs, 3600000);
    object.Read("throw", fault.throws);
    object.Read("missing", fault.missing);
    object.Read("garbage", fault.garbage);
    object.Read("unterminated", fault.unterminated);
    if (fault.missing && value.Json().size() != 2)
        value.Fail("a function that is missing has no other fault");
    if (fault.missing && fault.function > FunctionIndex("GetCoreAgentPvt"))
        function.FailExpected("a function that is found by its name, for one that is missing");
    object.Finish();
    return fault;
}

} // namespace sim
