// Stand-ins for what a customer does not want to give away: names, serial numbers, World Wide Names, addresses.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

namespace reading {

// A stand-in has the shape of what it stands for: letters for letters in their case, digits for digits, the rest as it
// is. The same text has the same stand-in in every output, on every machine, so that outputs can be compared; it is not
// encryption, and who knows a text can check it. Texts are UTF-8.
class Mask {
  public:
    // A name or serial number that is replaced wherever it stands by itself from now on, also as JSON, CSV and
    // Printable spell it. Blanks around it do not count; a text of blanks alone is none.
    void Learn(std::string_view text);

    // With World Wide Names, MAC addresses, GUIDs and all that was learnt replaced. World Wide Names of zeros stay:
    // they are those of nothing.
    std::string Apply(std::string_view text) const;
    // The same for every text of the value; the keys stay.
    void Apply(nlohmann::ordered_json& value) const;

  private:
    // What stands in for the name or serial number that begins the text at the place; null: none does.
    const std::pair<const std::string, std::string>* FindName(std::string_view text, std::size_t at) const;

    // Longest first, since one name can be the beginning of another.
    struct Longest {
        bool operator()(const std::string& left, const std::string& right) const {
            return left.size() != right.size() ? left.size() > right.size() : left < right;
        }
    };
    std::map<char, std::map<std::string, std::string, Longest>> m_standIns; // by their first character
};

} // namespace reading
