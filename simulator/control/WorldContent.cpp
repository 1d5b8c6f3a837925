#include "simulator/control/WorldContent.h"

#include <cstring>
#include <system_error>

#include "simulator/topology/HexFile.h"
#include "simulator/topology/Text.h"

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

  private:
    const std::string& m_bytes;
    std::size_t m_at = 0;
};

} // namespace

WorldContent ContentOfFile(const std::filesystem::path& file, const std::string& name) {
    try {
        return ContentOfText(ReadFile(file), name, file.parent_path());
    } catch (const std::system_error& error) {
        return {name, {}, {}, name + ": cannot be read: error " + std::to_string(error.code().value()), {}};
    }
}

WorldContent ContentOfText(const std::string& text, const std::string& name, const std::filesystem::path& folder) {
    WorldContent content{name, Utf8(folder.wstring()), text, {}, {}};
    try {
        ParseTopology(text, name, folder, [&](const std::filesystem::path& file) {
            return content.responses[Utf8(file.wstring())] = ReadHexFile(file);
        });
    } catch (const std::exception& error) {
        content.error = error.what();
        content.responses.clear();
    }
    if (Packed(content).size() > MAX_WORLD_BYTES)
        return {name, {}, {}, name + ": larger than 32 MiB", {}};
    return content;
}

Topology TopologyOf(const WorldContent& content) {
    return ParseTopology(content.text, content.name, Wide(content.folder),
                         [&](const std::filesystem::path& file) { return content.responses.at(Utf8(file.wstring())); });
}

std::string Packed(const WorldContent& content) {
    std::string bytes;
    for (const auto* piece : {&content.name, &content.folder, &content.text, &content.error})
        PutPiece(bytes, *piece);
    for (const auto& [file, response] : content.responses) {
        PutPiece(bytes, file);
        PutPiece(bytes, response.data(), response.size());
    }
    return bytes;
}

WorldContent Unpacked(const std::string& bytes) {
    Pieces pieces(bytes);
    WorldContent content{pieces.Next(), pieces.Next(), pieces.Next(), pieces.Next(), {}};
    while (pieces.AreLeft()) {
        const std::string file = pieces.Next();
        const std::string response = pieces.Next();
        content.responses[file].assign(response.begin(), response.end());
    }
    return content;
}

} // namespace sim
