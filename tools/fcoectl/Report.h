// What one command says: the JSON document, the notes, the messages of a failure.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Failure.h"

namespace fcoectl {

struct Report {
    bool complete = true; // the agent answered TRUE to everything asked
    // Members of the document after the envelope, in order.
    nlohmann::ordered_json body = nlohmann::ordered_json::object();
    std::vector<std::string> notes; // sentences, on the error stream or in the document
};

// {"schema": "fcoectl/vport-create", "version": 1, "complete": ..., body..., "notes": [...], "error": {...}} with two
// blanks of indent and LF. command: its words; failure: null when there is none.
std::string Document(const std::string& command, const Report& report, const Failure* failure);

// The lines for people: each error as a sentence, with its code and arguments when the agent reported it, then the
// hints.
std::string Messages(const Failure& failure);

} // namespace fcoectl
