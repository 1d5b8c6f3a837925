// What the checks share: what was asked for, what an earlier one found out, and the findings.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/fcoectl/Agent.h"
#include "tools/fcoectl/Command.h"

namespace fcoectl {

enum class CheckResult { Ok, Warning, Failure };

// A part of a check that takes time.
struct CheckStep {
    std::string name;
    double milliseconds = 0;
    std::size_t records = 0;
};

struct Finding {
    const char* check; // its name in the table
    CheckResult result;
    std::string text;
    std::string advice; // empty: nothing to do
    std::vector<CheckStep> steps;
};

class Examination {
  public:
    Examination(const Options& asked, reading::Mask* names) : options(asked), mask(names) {}

    // Findings of the check that runs.
    void Begin(const char* check) { m_check = check; }
    void Ok(std::string text, std::vector<CheckStep> steps = {}) {
        Add(CheckResult::Ok, std::move(text), "", std::move(steps));
    }
    void Warn(std::string text, std::string advice, std::vector<CheckStep> steps = {}) {
        Add(CheckResult::Warning, std::move(text), std::move(advice), std::move(steps));
    }
    void Fail(std::string text, std::string advice, std::vector<CheckStep> steps = {}) {
        Add(CheckResult::Failure, std::move(text), std::move(advice), std::move(steps));
    }
    const std::vector<Finding>& Findings() const { return m_findings; }

    const Options& options;
    reading::Mask* const mask;    // see Context
    std::wstring agentFile;       // empty: not known
    std::wstring coreAgentFile;   // the same
    std::unique_ptr<Agent> agent; // null: it did not start

  private:
    void Add(CheckResult result, std::string text, std::string advice, std::vector<CheckStep> steps) {
        m_findings.push_back({m_check, result, std::move(text), std::move(advice), std::move(steps)});
    }

    const char* m_check = "";
    std::vector<Finding> m_findings;
};

} // namespace fcoectl
