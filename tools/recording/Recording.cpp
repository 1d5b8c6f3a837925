#include "tools/recording/Recording.h"

#include <fmt/format.h>

#include "tools/recording/AdapterModel.h"
#include "tools/recording/Deviations.h"
#include "tools/recording/MaskedJournal.h"
#include "tools/recording/Questions.h"
#include "tools/recording/Texts.h"

namespace recording {
namespace {

void LeaveOutUnnamed(Journal& journal) {
    std::erase_if(journal.adapters, [&](const AdapterFacts& facts) {
        if (IsBracedGuid(facts.identifier))
            return false;
        journal.Note(
            fmt::format("The adapter \"{}\" is left out: its identifier is no GUID in braces.", facts.identifier));
        std::erase_if(journal.replies, [&](const auto& entry) { return entry.first.adapter == facts.identifier; });
        return true;
    });
}

std::string TopologyText(const Journal& journal) {
    std::string text =
        "// Recorded by fcoectl from the neighbours of an agent; play it back with the simulated suite.\n";
    for (const std::string& note : journal.notes)
        text += "// " + note + "\n";
    std::vector<AdapterModel> models;
    models.reserve(journal.adapters.size());
    Json topology = {{"adapters", Json::array()}};
    for (const AdapterFacts& facts : journal.adapters)
        topology["adapters"].push_back(models.emplace_back(journal, facts).Description());
    if (Json faults = FaultsOf(journal, models); !faults.empty())
        topology["faults"] = std::move(faults);
    if (Json answers = AnswersOf(journal, models); !answers.empty())
        topology["answers"] = std::move(answers);
    return text + topology.dump(1, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace

Recording Record(std::chrono::duration<double> limit, reading::Mask* mask) {
    Journal journal = Session::Run(limit, AskNeighbours);
    LeaveOutUnnamed(journal);
    if (mask)
        MaskJournal(journal, *mask);
    return {TopologyText(journal),
            journal.adapters.size(),
            journal.calls,
            journal.notes,
            {journal.hanging.begin(), journal.hanging.end()}};
}

} // namespace recording
