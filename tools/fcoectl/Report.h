// What one command says: its document with its failure, and the messages.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Failure.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Report.h"

namespace fcoectl {

// With what ended the command: "error": {...}, "more_errors": [...]. failure: null when nothing did.
nlohmann::ordered_json DocumentOf(const std::string& command, const Report& report, const Failure* failure);

// The line for people of one problem.
std::string Message(const reading::Problem& problem);

// The lines for people: each error as a sentence, with its code and arguments when the agent reported it, then the
// hints.
std::string Messages(const Failure& failure);

} // namespace fcoectl
