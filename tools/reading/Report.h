// What a host tells of one request: the JSON document and its notes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/reading/DocumentSink.h"
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

// A document is {"schema": "fcoectl/vport-list", "version": 1, "complete": ..., BODY, "problems": [...], "notes":
// [...], "error": {...}}. command: of fcoectl, its words. The object is left open for the rest.
void TellBeginning(DocumentSink& sink, std::string_view command, bool complete);
void TellProblems(DocumentSink& sink, const Report& report);

// An error as documents tell it.
struct ReportedError {
    std::uint32_t code = 0; // the agent's error code, else the exit code
    std::string name;
    std::string text;
    std::vector<std::string> arguments;
    std::string source;
    int exitCode = 0; // of fcoectl
    std::vector<std::string> hints;
};
void TellError(DocumentSink& sink, const ReportedError& error);

// Of an answer that is not whole.
inline constexpr int PARTIAL_EXIT_CODE = 1;
inline constexpr char PARTIAL_NAME[] = "partial";
inline constexpr char PARTIAL_MEANING[] = "The agent could not read everything; what it could is printed.";

// With two blanks of indent and LF, in ASCII.
std::string TextOf(const nlohmann::ordered_json& document);

} // namespace reading
