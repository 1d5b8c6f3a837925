#include "tools/reading/Sentences.h"

#include <fmt/format.h>

#include "tools/log/LibraryStatus.h"
#include "tools/reading/VendorLibrary.h"
#include "tools/reading/What.h"

namespace reading {
namespace {

constexpr char DRIVER_ADVICE[] = "Look at the adapter, its driver and its maker's own tool.";
constexpr char DCB_ADVICE[] = "Restart the service OrvanDCB; its log tells more.";
constexpr char CORE_ADVICE[] = "See that the suite's core agent knows the adapter.";

std::string Label(const Loss& loss, const std::string& name) {
    if (loss.adapter.empty())
        return loss.place == Loss::UNPLACED ? "An adapter" : fmt::format("Adapter number {}", loss.place + 1);
    return name.empty() ? loss.adapter : fmt::format("{} ({})", name, loss.adapter);
}

std::string Part(const Loss& loss) {
    const std::string part = loss.object.empty() ? PhraseOf(loss.what) : loss.object;
    return loss.object.empty() || loss.times == 1 ? part : fmt::format("{} and {} more", part, loss.times - 1);
}

std::string Times(const Loss& loss) {
    return loss.object.empty() && loss.times > 1 ? fmt::format(" ({} times)", loss.times) : "";
}

bool IsOfDcb(const Loss& loss) {
    return loss.what == What::LinkState;
}

// The library hands its other functions out in a table.
bool IsHandler(const std::string& function) {
    return !function.starts_with("ORVAN_") && !function.starts_with("HBA_");
}

std::string Refusal(const Loss& loss) {
    if (loss.function == "SetupAPI")
        return "Windows has no network device of the name that ORVAN_GetFCAndNICProperties gave";
    if (loss.function == "ORVAN_GetFCoEControllerHandle")
        return "ORVAN_GetFCoEControllerHandle does not know the adapter by the name that ORVAN_GetFCoEControllerInfo "
               "gave";
    if (!loss.status)
        return fmt::format("{} failed, and nothing tells its status", loss.function);
    if (loss.isLibraryStatus)
        return fmt::format("{} failed: {}", loss.function,
                           agentlog::LibraryStatusText(static_cast<std::uint32_t>(*loss.status)));
    return fmt::format("{} failed with 0x{:08X}", loss.function, *loss.status);
}

std::string Reason(const Loss& loss) {
    switch (loss.how) {
    case How::Missing:
        return IsHandler(loss.function)
                   ? fmt::format("the HBA library's HBA_RegisterLibraryV2 registered no {}", loss.function)
                   : fmt::format("the HBA library has no function {}", loss.function);
    case How::Threw:
        return loss.function.empty() ? "the agent was interrupted by an exception"
                                     : fmt::format("{} ended with an exception", loss.function);
    case How::Withheld:
        return fmt::format("the HBA library's mutex \"{}\" was not to be had", loss.function);
    case How::Stopped:
        return fmt::format("the service {} does not run", loss.function);
    case How::Senseless:
        return fmt::format("what {} gave cannot be", loss.function);
    case How::Incomplete:
        return "the agent does not tell why";
    default:
        return Refusal(loss);
    }
}

const char* Advice(const Loss& loss) {
    if (loss.how == How::Stopped)
        return "Start the service OrvanDCB.";
    if (IsOfDcb(loss) && loss.how == How::Refused)
        return DCB_ADVICE;
    if (loss.how == How::Missing)
        return REINSTALL_ADVICE;
    if (loss.how == How::Withheld)
        return "Find the program that holds it, and run all hosts of the agent under accounts that may use it.";
    if (loss.what == What::Name)
        return CORE_ADVICE;
    if (loss.what == What::Capacity || loss.what == What::Vendor || loss.what == What::SerialNumber)
        return "Look at the target: it may be reserved, not ready or not reachable any more.";
    return DRIVER_ADVICE;
}

} // namespace

Problem MakeProblem(const Loss& loss, const std::string& name) {
    Problem problem;
    problem.adapter = loss.adapter;
    problem.what = KeyOf(loss.what);
    problem.function = loss.function;
    problem.status = loss.status;
    problem.text =
        fmt::format("{}: {} could not be read{}: {}.", Label(loss, name), Part(loss), Times(loss), Reason(loss));
    problem.advice = Advice(loss);
    return problem;
}

} // namespace reading
