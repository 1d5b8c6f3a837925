// The agent started, and each adapter opened and asked for everything that it has.
#include <algorithm>

#include <fmt/format.h>

#include "tools/fcoectl/Text.h"
#include "tools/fcoectl/doctor/Checks.h"
#include "tools/log/LogFile.h"
#include "tools/log/ProblemList.h"
#include "tools/reading/LogPlace.h"

namespace fcoectl {
namespace {

constexpr double SLOW = 2000; // milliseconds of a step

double Milliseconds() {
    LARGE_INTEGER now, perSecond;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(now.QuadPart) * 1000 / static_cast<double>(perSecond.QuadPart);
}

// What this process's agent wrote to its log since it was asked the last time.
class OwnLog {
  public:
    OwnLog() { static_cast<void>(Since()); }

    // What went wrong.
    std::vector<agentlog::ProblemList::Kind> Since() {
        agentlog::ProblemList problems;
        if (!m_file.IsOpen()) {
            const std::wstring path = reading::OwnLogFile();
            if (path.empty() || !m_file.Open(path))
                return {};
        }
        agentlog::Tracker tracker(agentlog::CounterRate(0), problems);
        while (const auto line = m_file.Next())
            tracker.Take(*line);
        tracker.End();
        return problems.Kinds();
    }

  private:
    agentlog::LogFile m_file;
};

std::string Sentence(const agentlog::ProblemList::Kind& problem) {
    const std::string number = agentlog::NumberText(problem.argument, problem.number);
    return fmt::format("{}{}{}", problem.function.empty() ? "" : problem.function + ": ", problem.meaning,
                       number.empty() ? "" : " (" + number + ")");
}

// Each sentence once.
std::string Joined(const std::vector<std::string>& sentences) {
    std::string text;
    for (const std::string& sentence : sentences)
        if (text.find(sentence) == std::string::npos)
            text += (text.empty() ? "" : " ") + sentence;
    return text;
}

// An adapter while it is examined.
struct Patient {
    Examination& examination;
    OwnLog& log;
    const CQelString id;
    std::vector<CheckStep> steps;
    std::vector<std::string> reasons;
    bool whole = true; // everything was read; calls may have failed on the way

    template <class Record> std::vector<Record> Ask(const char* step) {
        const double start = Milliseconds();
        std::vector<Record> records;
        reading::Findings findings;
        try {
            Reading<Record> reading = examination.agent->Read<Record>(id);
            records = std::move(reading.records);
            findings = std::move(reading.findings);
        } catch (const Failure& failure) {
            whole = false;
            reasons.push_back(fmt::format("{}: {}", step, failure.what()));
        }
        steps.push_back({step, Milliseconds() - start, records.size()});
        whole = whole && findings.problems.empty();
        const auto logged = log.Since();
        for (const auto& problem : logged)
            reasons.push_back(fmt::format("{}: {}", step, Sentence(problem)));
        if (logged.empty())
            for (const reading::Problem& problem : findings.problems)
                reasons.push_back(problem.text + " " + problem.advice);
        return records;
    }

    void TakeOver(const reading::Findings& found) {
        for (const reading::Problem& problem : found.problems) {
            if (problem.adapter != ToUtf8(id))
                continue;
            whole = false;
            reasons.push_back(problem.text + " " + problem.advice);
        }
    }
};

// found: what the list of all adapters lacked.
void ExamineAdapter(Examination& examination, OwnLog& log, const QEL_FCOE_HBA& listed, const reading::Findings& found) {
    Patient patient{examination, log, listed.strDeviceId, {}, {}};
    const auto hbas = patient.Ask<QEL_FCOE_HBA>("adapter");
    // The agent may have answered from what it kept of the list: nothing is asked then, and nothing fails anew.
    if (patient.reasons.empty())
        patient.TakeOver(found);
    patient.Ask<QEL_FCOE_FABRIC>("fabrics");
    patient.Ask<QEL_FCOE_PORT>("ports");
    patient.Ask<QEL_FCOE_TARGET>("targets");
    patient.Ask<QEL_FCOE_LUN>("LUNs");
    patient.Ask<QEL_FCOE_VLAN>("VLANs");
    patient.Ask<QEL_FCOE_STATISTIC>("counters");
    const std::string name = fmt::format("{}{}{}", ToUtf8(listed.strSecondId), listed.strSecondId.empty() ? "" : "  ",
                                         ToUtf8(listed.strDeviceId));
    const bool opened = !hbas.empty() && !hbas.front().strDeviceId.empty();
    if (!opened)
        patient.reasons.insert(patient.reasons.begin(), "adapter: it cannot be opened.");
    if (!patient.whole || !opened)
        return examination.Fail(fmt::format("{}: not everything could be read.", name), Joined(patient.reasons),
                                patient.steps);
    if (!patient.reasons.empty())
        return examination.Warn(fmt::format("{}: everything was read, but calls failed on the way.", name),
                                Joined(patient.reasons), patient.steps);
    const auto slow = std::ranges::find_if(patient.steps, [](const CheckStep& s) { return s.milliseconds > SLOW; });
    if (slow != patient.steps.end())
        return examination.Warn(fmt::format("{}: the {} took {:.1f} s.", name, slow->name, slow->milliseconds / 1000),
                                "'fcoectl log slow' tells which call it was.", patient.steps);
    examination.Ok(fmt::format("{}: everything was read, {}.", name, ToUtf8(hbas.front().strFcoeLinkStatus)),
                   patient.steps);
}

// What is lacking of adapters that the list does not have, or has without their identifiers.
std::vector<reading::Problem> Hidden(const Reading<QEL_FCOE_HBA>& reading) {
    std::vector<reading::Problem> hidden;
    std::ranges::copy_if(reading.findings.problems, std::back_inserter(hidden), [&](const reading::Problem& problem) {
        return std::ranges::none_of(reading.records, [&](const QEL_FCOE_HBA& hba) {
            return !hba.strDeviceId.empty() && ToUtf8(hba.strDeviceId) == problem.adapter;
        });
    });
    return hidden;
}

} // namespace

void CheckAgentStart(Examination& examination) {
    try {
        examination.agent = std::make_unique<Agent>(FromUtf8(examination.options.agentFile),
                                                    FromUtf8(examination.options.libraryFolder), examination.mask);
        examination.Ok("The agent starts.");
    } catch (const Failure& failure) {
        examination.Fail(failure.what(), failure.Hints().empty() ? "See the failures above." : failure.Hints().front());
    }
}

void CheckAdapters(Examination& examination) {
    if (!examination.agent)
        return;
    OwnLog log;
    Reading<QEL_FCOE_HBA> reading;
    try {
        reading = examination.agent->Read<QEL_FCOE_HBA>(CQelString());
    } catch (const Failure& failure) {
        return examination.Fail(failure.what(), "See the agent's log.");
    }
    std::vector<std::string> logged;
    for (const auto& problem : log.Since())
        logged.push_back(Sentence(problem));
    const std::vector<reading::Problem> hidden = Hidden(reading);
    const auto isUnnamed = [](const QEL_FCOE_HBA& hba) { return hba.strDeviceId.empty(); };
    if (std::ranges::none_of(reading.records, isUnnamed))
        for (const reading::Problem& problem : hidden)
            examination.Fail(problem.text, problem.advice);
    if (reading.records.empty() && hidden.empty())
        return examination.Fail("The agent knows no adapter.",
                                reading.findings.whyNone + (reading.findings.whyNone.empty() ? "" : " ") +
                                    "See the FCoE flag and the core agent above; the core agent must list an adapter "
                                    "that supports FCoE.");
    if (logged.empty())
        for (const reading::Problem& problem : hidden)
            logged.push_back(problem.text + " " + problem.advice);
    for (const QEL_FCOE_HBA& hba : reading.records) {
        if (isUnnamed(hba))
            examination.Fail("An adapter that the core agent lists could not be opened.",
                             logged.empty() ? "Turn the log on to see why." : Joined(logged));
        else
            ExamineAdapter(examination, log, hba, reading.findings);
    }
}

} // namespace fcoectl
