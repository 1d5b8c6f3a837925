#include "simulator/topology/HexFile.h"

#include <charconv>
#include <sstream>
#include <system_error>

#include "simulator/topology/Text.h"
#include "simulator/topology/Topology.h"

namespace sim {

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
