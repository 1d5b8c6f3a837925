#include "simulator/control/WorldContent.h"

#include <algorithm>
#include <cstring>
#include <system_error>

#include "simulator/topology/HexFile.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/TopologyReader.h"

namespace sim {
namespace {

void PutPiece(std::string& bytes, const void* piece, std::size_t size) {
    const std::uint64_t length = size;
    bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
    bytes.append(static_cast<const char*>(piece), size);
}

void PutPiece(std::string& bytes, const std::string& piece) {
    PutPiece(bytes, piece.data(), piece.size());
}

// Takes the pieces in the order in which they were put.
class Pieces {
  public:
    explicit Pieces(const std::string& bytes) : m_bytes(bytes) {}
    bool AreLeft() const { return m_at + sizeof(std::uint64_t) <= m_bytes.size(); }
    std::string Next() {
        std::uint64_t length = 0;
        std::memcpy(&length, m_bytes.data() + m_at, sizeof length);
        m_at += sizeof length;
        std::string piece = m_bytes.substr(m_at, length);
        m_at += length;
        return piece;
    }

    std::vector<std::uint32_t> NextNumbers() {
        const std::string piece = Next();
        std::vector<std::uint32_t> numbers(piece.size() / sizeof(std::uint32_t));
        std::ranges::copy(piece, reinterpret_cast<char*>(numbers.data()));
        return numbers;
    }

  private:
    const std::string& m_bytes;
    std::size_t m_at = 0;
};

} // namespace

WorldContent ContentOfFile(const std::filesystem::path& file, const std::string& name) {
    try {
        return ContentOfText(ReadFile(file), name, file.parent_path());
    } catch (const std::system_error& error) {
        return {name, {}, {}, name + ": cannot be read: error " + std::to_string(error.code().value()), {}, {}};
    }
}

WorldContent ContentOfText(const std::string& text, const std::string& name, const std::filesystem::path& folder) {
    WorldContent content{name, Utf8(folder.wstring()), text, {}, {}, {}};
    std::size_t largest = 0;
    try {
        const Reading reading = ReadTopology(text, folder, [&](const std::filesystem::path& file) {
            return content.responses[Utf8(file.wstring())] = ReadHexFile(file);
        });
        if (!reading.problems.empty())
            content.error = reading.problems.front().OneLine(name);
        else if (!reading.topology.timeline.empty())
            content.motion = MotionOf(text);
        largest = reading.largest;
    } catch (const std::exception& error) {
        content.error = error.what();
    }
    if (!content.error.empty())
        content.responses.clear();
    if (Packed(content).size() + largest > MAX_WORLD_BYTES)
        return {name, {}, {}, name + ": larger than 32 MiB", {}, {}};
    return content;
}

bool WorldContent::HasSourceOf(const WorldContent& moved) const {
    return name == moved.name && folder == moved.folder && text == moved.text && error == moved.error &&
           std::ranges::includes(moved.responses, responses);
}

Topology TopologyOf(const WorldContent& content) {
    return ParseTopology(content.Document(), content.name, Wide(content.folder),
                         [&](const std::filesystem::path& file) { return content.responses.at(Utf8(file.wstring())); });
}

std::string Packed(const WorldContent& content) {
    std::string bytes;
    const Motion& motion = content.motion;
    for (const auto* piece : {&content.name, &content.folder, &content.text, &content.error, &motion.document,
                              &motion.steps, &motion.script})
        PutPiece(bytes, *piece);
    const std::uint32_t numbers[] = {motion.taken, motion.left, motion.faultNumbers};
    PutPiece(bytes, numbers, sizeof numbers);
    PutPiece(bytes, motion.faults.data(), motion.faults.size() * sizeof(std::uint32_t));
    for (const auto& [file, response] : content.responses) {
        PutPiece(bytes, file);
        PutPiece(bytes, response.data(), response.size());
    }
    return bytes;
}

WorldContent Unpacked(const std::string& bytes) {
    Pieces pieces(bytes);
    WorldContent content{pieces.Next(), pieces.Next(), pieces.Next(), pieces.Next(), {}, {}};
    Motion& motion = content.motion;
    motion.document = pieces.Next();
    motion.steps = pieces.Next();
    motion.script = pieces.Next();
    const auto numbers = pieces.NextNumbers();
    motion.taken = numbers[0];
    motion.left = numbers[1];
    motion.faultNumbers = numbers[2];
    motion.faults = pieces.NextNumbers();
    while (pieces.AreLeft()) {
        const std::string file = pieces.Next();
        const std::string response = pieces.Next();
        content.responses[file].assign(response.begin(), response.end());
    }
    return content;
}

} // namespace sim
