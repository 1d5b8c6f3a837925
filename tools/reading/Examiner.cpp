#include "tools/reading/Examiner.h"

#include <algorithm>
#include <optional>

#include "tools/reading/NoAdapter.h"
#include "tools/reading/Sentences.h"
#include "tools/reading/Text.h"
#include "tools/reading/VendorLibrary.h"

namespace reading {
namespace {

// What is known of one request when it is decided.
class Case {
  public:
    Case(Answer answer, std::string adapter, RecordView view, const CallReplay& replay)
        : m_answer(answer), m_adapter(std::move(adapter)), m_view(std::move(view)), m_replay(replay),
          m_losses(replay.Losses()) {
        if (NeedsCoreAgent())
            m_core = AskCoreAgent();
    }

    Findings Decide(bool complete, const std::vector<std::wstring>& folders) {
        Findings findings;
        if (m_adapter.empty())
            ExplainList(findings);
        FindAdapters();
        AddContradictions();
        if (!m_replay.SawRequest() && findings.problems.empty())
            AddUnlogged();
        const bool withoutLibrary = IsWithoutLibrary();
        if (withoutLibrary)
            findings.problems.push_back(LibraryProblem(folders));
        // All else that the library tells is missing for its sake.
        const bool namesOnly = withoutLibrary && !IsLibraryLoaded();
        for (const Loss& loss : m_losses)
            if (loss.how != How::Unloaded && (!namesOnly || loss.what == What::Name))
                Add(findings.problems, MakeProblem(Refined(loss), NameOf(loss.adapter)));
        if (!complete && findings.problems.empty()) {
            Loss loss;
            loss.what = WholeOf(m_answer);
            loss.how = How::Incomplete;
            loss.adapter = m_adapter;
            findings.problems.push_back(MakeProblem(loss, NameOf(m_adapter)));
        }
        return findings;
    }

  private:
    // It is asked for what only it knows: which adapters there are.
    bool NeedsCoreAgent() const {
        if (!m_adapter.empty())
            return false;
        return m_view.records == 0 || !m_replay.SawRequest() || m_replay.SupportThrew() || !m_losses.empty() ||
               std::ranges::any_of(m_view.losses, [](const Loss& loss) { return loss.adapter.empty(); });
    }

    void ExplainList(Findings& findings) const {
        if (!m_core)
            return;
        NoAdapterReason reason = ExplainAdapterList(
            {m_replay.List(), m_replay.SupportThrew(), Skipped(), m_view.records == 0 && m_replay.Asked() == 0},
            *m_core);
        for (Problem& problem : reason.problems)
            findings.problems.push_back(std::move(problem));
        findings.whyNone = std::move(reason.none);
    }

    // The one adapter that was not asked though it supports FCoE; empty: none, or it cannot be told which.
    std::string Skipped() const {
        std::vector<std::string> without;
        for (const std::string& adapter : m_core->withFcoe)
            if (std::ranges::find(m_view.adapters, adapter, &RecordView::Adapter::id) == m_view.adapters.end())
                without.push_back(adapter);
        return without.size() == 1 ? without.front() : std::string();
    }

    // Whom the places in the log mean.
    void FindAdapters() {
        if (!m_adapter.empty()) {
            m_asked = {m_adapter};
            return;
        }
        if (m_core)
            m_asked = m_core->withFcoe;
        const bool logged = m_replay.SawRequest();
        if (logged && m_asked.size() != m_replay.Asked()) {
            m_asked.clear();
            if (m_view.adapters.size() == m_replay.Asked())
                for (const auto& adapter : m_view.adapters)
                    m_asked.push_back(adapter.id);
        }
        for (Loss& loss : m_losses)
            Place(loss);
    }

    void Place(Loss& loss) const {
        if (loss.adapter.empty() && loss.place < m_asked.size())
            loss.adapter = m_asked[loss.place];
    }

    // The log tells more of the same than a record can.
    void AddContradictions() {
        for (Loss loss : m_view.losses) {
            if (!Shows(m_answer, loss.what))
                continue;
            if (m_view.records == m_asked.size())
                Place(loss);
            const auto known = std::ranges::find_if(
                m_losses, [&](const Loss& other) { return other.what == loss.what && other.adapter == loss.adapter; });
            if (known == m_losses.end())
                m_losses.push_back(std::move(loss));
            else if (known->times == loss.times)
                known->object = loss.object;
        }
    }

    // Without the log: every adapter has a record, a fabric, a port and counters, also one that was asked alone.
    void AddUnlogged() {
        const bool ofAdapters = WholeOf(m_answer) == What::Adapter;
        const char* function = ofAdapters                                                 ? "GetAdapterPortAttributes"
                               : m_answer == Answer::Fabrics || m_answer == Answer::Ports ? "ORVAN_GetFCPortList"
                               : m_answer == Answer::Statistics                           ? "GetPortStatistics"
                                                                                          : nullptr;
        if (!function || m_view.adapters.size() >= m_asked.size() || !IsOfSuite())
            return;
        for (const std::string& adapter : m_asked) {
            if (std::ranges::find(m_view.adapters, adapter, &RecordView::Adapter::id) != m_view.adapters.end())
                continue;
            Loss loss;
            loss.what = WholeOf(m_answer);
            loss.function = function;
            loss.adapter = adapter;
            m_losses.push_back(std::move(loss));
        }
    }

    bool IsWithoutLibrary() const {
        if (std::ranges::find(m_losses, How::Unloaded, &Loss::how) != m_losses.end())
            return true;
        const bool anyAdapter = !m_asked.empty() || m_view.records > 0;
        return !m_replay.SawRequest() && anyAdapter && !IsLibraryLoaded() && IsOfSuite();
    }

    // What the suite has an agent must have, too.
    bool IsOfSuite() const { return m_core ? m_core->loaded : HasCoreAgent(); }

    Problem LibraryProblem(const std::vector<std::wstring>& folders) const {
        Problem problem;
        problem.what = KeyOf(What::Adapter);
        problem.function = ToUtf8(VENDOR_LIBRARY);
        for (const Loss& loss : m_losses)
            if (loss.how == How::Unloaded && !problem.status)
                problem.status = loss.status;
        problem.text = WhyNotLoaded(LibraryFolders(folders)) + " Nothing was read of any adapter.";
        problem.advice = LIBRARY_ADVICE;
        return problem;
    }

    // The log does not tell a refusal without a status from a function that is not there.
    static Loss Refined(Loss loss) {
        const bool isExport = loss.function.starts_with("ORVAN_") && loss.function.find(' ') == std::string::npos;
        if (!IsLibraryLoaded())
            return loss;
        if (isExport && loss.how == How::Refused && !loss.status && !LibraryExports(loss.function))
            loss.how = How::Missing;
        else if (!isExport && loss.how == How::Missing && !LibraryExports("HBA_RegisterLibraryV2"))
            loss.function = "HBA_RegisterLibraryV2";
        return loss;
    }

    std::string NameOf(const std::string& adapter) const {
        const auto known = std::ranges::find(m_view.adapters, adapter, &RecordView::Adapter::id);
        return known == m_view.adapters.end() ? "" : known->name;
    }

    static void Add(std::vector<Problem>& problems, Problem problem) {
        if (std::ranges::find(problems, problem) == problems.end())
            problems.push_back(std::move(problem));
    }

    Answer m_answer;
    std::string m_adapter;
    RecordView m_view;
    const CallReplay& m_replay;
    std::vector<Loss> m_losses;
    std::optional<CoreAgentView> m_core;
    std::vector<std::string> m_asked;
};

} // namespace

bool Findings::Lack(const std::wstring& adapter, What what) const {
    const std::string id = ToUtf8(adapter);
    const std::string library = ToUtf8(VENDOR_LIBRARY);
    return std::ranges::any_of(problems, [&](const Problem& problem) {
        const bool part = problem.what == KeyOf(what) || problem.what == KeyOf(What::Adapter);
        return part && (problem.adapter == id || problem.function == library);
    });
}

Findings Examiner::Examine(Answer answer, const std::wstring& adapter, bool complete, RecordView view) {
    CallReplay replay(answer);
    const bool read = m_log.Read([&](const agentlog::LogLine& line) { replay.Take(line); });
    replay.Finish();
    Findings findings = Case(answer, ToUtf8(adapter), std::move(view), replay).Decide(complete, m_folders);
    findings.blindness = LogWatch::Blindness(read && replay.SawRequest());
    return findings;
}

} // namespace reading
