// simctl set
#include <system_error>

#include <windows.h>

#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/InUse.h"
#include "simulator/simctl/JsonEdit.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

// What is no JSON is a text: quotes do not survive every shell.
ordered_json ValueOf(const std::string& text) {
    ordered_json value = ordered_json::parse(text, nullptr, false);
    return value.is_discarded() ? ordered_json(text) : value;
}

// What the document has there, short; at "-" of a list its last entry.
std::string Shown(const std::string& text, const std::string& pointer) {
    const json document = json::parse(text, nullptr, false, true);
    json::json_pointer at(pointer);
    if (pointer.ends_with("/-")) {
        at.pop_back();
        at /= document[at].size() - 1;
    }
    if (!document.contains(at))
        return "nothing";
    const std::string shown = document[at].dump();
    return shown.size() <= 60 ? shown : shown.substr(0, 57) + "...";
}

int Refuse(Console& console, const std::string& name, const std::string& why) {
    console.Err(name + ": " + why + "\nnot changed\n");
    return WRONG;
}

} // namespace

int Set(Console& console, const SetOptions& options) {
    const std::filesystem::path file =
        options.file.empty() ? FindInUse().file : std::filesystem::path(sim::Wide(options.file));
    if (file.empty())
        return Refuse(console, "built-in topology",
                      "cannot be changed; make a file of it with \"simctl default\" and take it into use with "
                      "\"simctl use\"");
    const CheckedFile before = CheckFile(file);
    for (const auto& problem : before.checked.reading.problems) {
        if (problem.kind != sim::Problem::Kind::Value) {
            console.Err(before.ErrorLines());
            return Refuse(console, before.name, "mend it first");
        }
    }
    std::string text;
    try {
        text = EditJson(before.text, options.pointer, ValueOf(options.value));
    } catch (const EditError& error) {
        return Refuse(console, before.name, error.what());
    }
    const CheckedFile after = CheckText(before.name, text, file.parent_path());
    if (!after.IsGood()) {
        // The lines are those of a text that nobody sees.
        for (const auto& problem : after.checked.reading.problems)
            console.Err(problem.OneLine(after.name) + "\n");
        console.Err("not changed\n");
        return WRONG;
    }
    try {
        sim::ReplaceWholeFile(file, text);
    } catch (const std::system_error& error) {
        return Refuse(console, before.name, "cannot be written: " + SystemText(error.code().value()));
    }
    console.Err(after.WarningLines());
    const bool added = options.pointer.ends_with("/-");
    console.Out(before.name + ": " + options.pointer + ": " +
                (added ? "nothing" : Shown(before.text, options.pointer)) + " -> " + Shown(text, options.pointer) +
                "\n");
    return GOOD;
}

} // namespace simctl
