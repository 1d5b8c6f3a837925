// What a host tells of one request: the JSON document and its notes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/reading/Examiner.h"

namespace reading {

// Of a document's members: raised when one of them changes.
inline constexpr int DOCUMENT_VERSION = 1;

struct Report {
    bool complete = true; // all that was asked for was read
    // Members of the document after the envelope, in order.
    nlohmann::ordered_json body = nlohmann::ordered_json::object();
    // What was not read; nothing for a command that does not read.
    std::optional<std::vector<Problem>> problems;
    std::vector<std::string> notes; // sentences, on the error stream or in the document

    // Takes over what a reading came to; what was told before is not told again.
    void Add(bool answered, const Findings& findings);
    // The same of a command that this one is made of.
    void Add(const Report& part);
};

// "vport-create": the kind of a command's document, its words with hyphens.
std::string KindOf(std::string_view command);

// {"schema": "fcoectl/vport-list", "version": 1, "complete": ..., body..., "problems": [...], "notes": [...]}. command:
// of fcoectl, its words.
nlohmann::ordered_json DocumentOf(std::string_view command, const Report& report);
// With two blanks of indent and LF, in ASCII.
std::string TextOf(const nlohmann::ordered_json& document);

} // namespace reading
