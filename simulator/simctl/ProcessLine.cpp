#include "simulator/simctl/ProcessLine.h"

#include "simulator/simctl/InUse.h"

namespace simctl {
namespace {

bool IsText(const sim::WorldStatus& status) {
    return status.origin == "control";
}

std::string ChosenBy(const sim::WorldStatus& status) {
    return IsText(status)                ? "the process itself"
           : status.origin == "variable" ? SourceText(Source::Variable)
           : status.origin == "registry" ? SourceText(Source::Registry)
                                         : SourceText(Source::BuiltIn);
}

std::string NameOf(const sim::WorldStatus& status) {
    return !status.source.empty() ? status.source : IsText(status) ? "a text" : "built-in topology";
}

} // namespace

std::string ProcessLine(const sim::ProcessWorld& world) {
    const sim::WorldStatus& status = world.status;
    std::string line = std::to_string(world.process) + " " + world.program + ": version " +
                       std::to_string(status.version) + " of " + NameOf(status) + ", chosen by " + ChosenBy(status);
    if (!status.error.empty())
        line += (status.lastGoodInUse ? "; " : "; every simulated function fails: ") + status.error;
    return line;
}

nlohmann::ordered_json ProcessDocument(const sim::ProcessWorld& world) {
    const sim::WorldStatus& status = world.status;
    nlohmann::ordered_json document{{"process", world.process},
                                    {"program", world.program},
                                    {"source", status.origin == "built-in" ? "built_in" : status.origin},
                                    {"file", status.source},
                                    {"topology_version", status.version},
                                    {"calls", status.calls}};
    if (!status.error.empty()) {
        document["error"] = status.error;
        document["last_good_in_use"] = status.lastGoodInUse;
    }
    return document;
}

} // namespace simctl
