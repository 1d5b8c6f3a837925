#include "simulator/topology/Timeline.h"

#include <algorithm>
#include <numeric>

#include "simulator/topology/HexFile.h"
#include "simulator/topology/Patch.h"
#include "simulator/topology/Steps.h"
#include "simulator/topology/TopologyReader.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr char TIMELINE[] = "timeline";

json Faults(const json& document) {
    return document.value("faults", json::array());
}

// Equal ones keep their order.
std::vector<std::uint32_t> NumbersAfter(const json& before, const json& after, Motion& motion) {
    std::vector<std::uint32_t> numbers;
    std::vector<bool> isTaken(before.size());
    for (const auto& fault : after) {
        std::size_t same = 0;
        while (same < before.size() && (isTaken[same] || before[same] != fault))
            ++same;
        if (same < before.size())
            isTaken[same] = true;
        numbers.push_back(same < before.size() ? motion.faults[same] : motion.faultNumbers++);
    }
    return numbers;
}

void Begin(Motion& motion, const json& document, const json& steps) {
    motion.document = document.dump();
    motion.steps = steps.dump();
    motion.taken = 0;
    motion.left = static_cast<std::uint32_t>(steps.size());
}

Motion StartOf(const json& document) {
    Motion motion;
    motion.faults.resize(Faults(document).size());
    std::iota(motion.faults.begin(), motion.faults.end(), 0);
    motion.faultNumbers = static_cast<std::uint32_t>(motion.faults.size());
    return motion;
}

} // namespace

Motion MotionOf(std::string_view text) {
    json document = ParseJson(text, "");
    if (document.value(TIMELINE, json::array()).empty())
        return {};
    const json steps = document[TIMELINE];
    document.erase(TIMELINE);
    Motion motion = StartOf(document);
    Begin(motion, document, steps);
    return motion;
}

Motion MotionOf(std::string_view text, const Motion& before, const std::string& steps, const std::string& script) {
    json document = ParseJson(before.IsMoving() ? std::string_view(before.document) : text, "");
    document.erase(TIMELINE); // an empty one
    Motion motion = before.IsMoving() ? before : StartOf(document);
    Begin(motion, document, json::parse(steps));
    motion.script = script;
    return motion;
}

std::optional<Step> NextStep(const Motion& motion) {
    if (motion.left == 0)
        return std::nullopt;
    const json steps = json::parse(motion.steps);
    const std::string none;
    const Responses responses{{}, {}};
    std::vector<Problem> problems;
    ObjectReader reader(JsonValue(steps.front(), none), responses, problems);
    Step step;
    Describe(reader, step);
    return step;
}

void TakeStep(Motion& motion) {
    json document = json::parse(motion.document);
    json steps = json::parse(motion.steps);
    const json before = Faults(document);
    Patcher patcher(document);
    for (const auto& operation : steps.front().at("patch"))
        patcher.Apply(operation);
    steps.erase(0);
    motion.faults = NumbersAfter(before, Faults(document), motion);
    motion.document = document.dump();
    motion.steps = steps.dump();
    ++motion.taken;
    --motion.left;
}

Script ReadScript(std::string_view text, const std::string& document, const std::filesystem::path& folder,
                  const ResponseReader& readResponse) {
    Script script;
    const std::string none;
    std::vector<Problem>& problems = script.problems;
    std::vector<std::string> repeated;
    json whole;
    try {
        whole = ParseJson(text, none, repeated);
    } catch (const JsonSyntaxError& error) {
        problems.push_back(SyntaxProblem(error));
        return script;
    }
    const bool isList = whole.is_array();
    if (isList)
        whole = json{{TIMELINE, whole}};
    problems = RepeatedKeys(text, repeated);
    const Responses responses{folder, readResponse ? readResponse : ReadHexFile};
    ObjectReader reader(JsonValue(whole, none), responses, problems);
    std::vector<Step> timeline;
    DescribeTimeline(reader, timeline, true);
    reader.Finish();
    script.count = timeline.size();
    if (problems.empty()) {
        StepsFound found = CheckSteps({json::parse(document), whole[TIMELINE], std::string("/") + TIMELINE}, responses);
        script.largest = found.largest;
        problems = std::move(found.problems);
        script.steps = whole[TIMELINE].dump();
    }
    // The list itself has no name.
    constexpr std::string_view WRAPPED = "/timeline";
    for (auto& problem : problems) {
        for (std::string* place : {&problem.pointer, &problem.at}) {
            if (isList && place->starts_with(WRAPPED))
                place->erase(0, WRAPPED.size());
        }
    }
    Locate(text, problems);
    return script;
}

} // namespace sim
