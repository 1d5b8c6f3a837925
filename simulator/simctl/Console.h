// Where a verb writes.
#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

namespace simctl {

class Console {
  public:
    virtual ~Console() = default;
    // UTF-8 with plain line ends.
    virtual void Out(std::string_view text) = 0;
    virtual void Err(std::string_view text) = 0;

    // A document, in ASCII.
    void OutJson(const nlohmann::ordered_json& document) {
        constexpr bool ASCII = true;
        Out(document.dump(2, ' ', ASCII, nlohmann::ordered_json::error_handler_t::replace) + "\n");
    }
};

// Exit codes.
constexpr int GOOD = 0;
constexpr int WRONG = 1; // what was given or is in use is wrong
constexpr int USAGE = 2;

} // namespace simctl
