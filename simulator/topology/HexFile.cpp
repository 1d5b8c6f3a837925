#include "simulator/topology/HexFile.h"

#include <charconv>
#include <sstream>
#include <system_error>

#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"

namespace sim {

std::vector<std::uint8_t> ReadHex(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t at = 0; (at = text.find_first_not_of(' ', at)) != std::string_view::npos; at += 2) {
        std::uint8_t byte = 0;
        const std::string_view digits = text.substr(at, 2);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() != 2 || error != std::errc() || end != digits.data() + digits.size())
            throw TopologyError("expected two hexadecimal digits, found \"" + std::string(digits) + "\"");
        bytes.push_back(byte);
    }
    if (bytes.empty())
        throw TopologyError("expected at least one byte");
    return bytes;
}

std::vector<std::uint8_t> ReadHexFile(const std::filesystem::path& file) {
    const std::string name = Utf8(file.wstring());
    std::string text;
    try {
        text = ReadFile(file);
    } catch (const std::system_error& error) {
        throw TopologyError(name + ": cannot be read: error " + std::to_string(error.code().value()));
    }

    std::vector<std::uint8_t> bytes;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        std::istringstream words(line.substr(0, line.find('#')));
        for (std::string word; words >> word;) {
            std::uint8_t byte = 0;
            const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), byte, 16);
            if (word.size() != 2 || error != std::errc() || end != word.data() + word.size())
                throw TopologyError(name + ":" + std::to_string(number) +
                                    ": expected two hexadecimal digits, found \"" + word + "\"");
            bytes.push_back(byte);
        }
    }
    if (bytes.empty())
        throw TopologyError(name + ": expected at least one byte");
    return bytes;
}

} // namespace sim
