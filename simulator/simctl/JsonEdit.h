// Changes a JSON document in its text, so that comments and layout stay.
#pragma once

#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace simctl {

// Why a document cannot be changed so; a sentence.
class EditError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Applies value at the JSON pointer (RFC 6901): a value takes the place of the one there; one for a key that is not
// there yet is added, as one at "-" or just after the end of a list is (RFC 6902); an object is merged into an object,
// and null removes what is there (RFC 7396). text: a document without errors of syntax. Throws EditError.
std::string EditJson(const std::string& text, const std::string& pointer, const nlohmann::ordered_json& value);

} // namespace simctl
