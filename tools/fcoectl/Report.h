// What one command says: the JSON document, the notes, the messages of a failure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/fcoectl/Failure.h"
#include "tools/reading/Examiner.h"

namespace fcoectl {

// Of a document's members: raised when one of them changes.
inline constexpr int DOCUMENT_VERSION = 1;

struct Report {
    bool complete = true; // all that was asked for was read
    // Members of the document after the envelope, in order.
    nlohmann::ordered_json body = nlohmann::ordered_json::object();
    // What was not read; nothing for a command that does not read.
    std::optional<std::vector<reading::Problem>> problems;
    std::vector<std::string> notes; // sentences, on the error stream or in the document

    // Takes over what a reading came to; what was told before is not told again.
    void Add(bool answered, const reading::Findings& findings);
    // The same of a command that this one is made of.
    void Add(const Report& part);
};

// "vport-create": the kind of a command's document, its words with hyphens.
std::string KindOf(std::string_view command);

// {"schema": "fcoectl/vport-create", "version": 1, "complete": ..., body..., "problems": [...], "notes": [...],
// "error": {...}}. command: its words; failure: null when there is none.
nlohmann::ordered_json DocumentOf(const std::string& command, const Report& report, const Failure* failure);
// With two blanks of indent and LF, in ASCII.
std::string TextOf(const nlohmann::ordered_json& document);

// The line for people of one problem.
std::string Message(const reading::Problem& problem);

// The lines for people: each error as a sentence, with its code and arguments when the agent reported it, then the
// hints.
std::string Messages(const Failure& failure);

} // namespace fcoectl
