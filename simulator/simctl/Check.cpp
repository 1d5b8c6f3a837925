// simctl check
#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

std::vector<CheckedFile> CheckAll(const CheckOptions& options) {
    std::vector<CheckedFile> files;
    for (const auto& file : options.files)
        files.push_back(CheckFile(sim::Wide(file)));
    if (options.files.empty())
        files.push_back(Check(FindInUse()));
    return files;
}

bool Passes(const CheckedFile& file, bool strict) {
    return file.IsGood() && !(strict && !file.checked.warnings.empty());
}

std::string Verdict(const CheckedFile& file, bool named) {
    const std::size_t warnings = file.checked.warnings.size();
    return (named ? file.name + ": " : std::string()) + "good" +
           (warnings == 0 ? "" : ", with " + std::to_string(warnings) + " warning" + (warnings == 1 ? "" : "s")) +
           ": " + file.Content() + "\n";
}

} // namespace

int CheckFiles(Console& console, const CheckOptions& options) {
    bool passed = true;
    auto documents = nlohmann::ordered_json::array();
    for (const auto& file : CheckAll(options)) {
        const bool passes = Passes(file, options.strict);
        passed = passed && passes;
        if (options.json) {
            documents.push_back(file.Document());
            continue;
        }
        console.Err(file.ErrorLines() + file.WarningLines());
        if (passes)
            console.Out(Verdict(file, options.files.size() > 1));
    }
    if (options.json)
        console.OutJson({{"schema", "simctl/check"}, {"version", 1}, {"good", passed}, {"files", documents}});
    return passed ? GOOD : WRONG;
}

} // namespace simctl
